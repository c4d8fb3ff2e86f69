// Files of the writer, read by numbers of this test's own, cut, damaged and repaired.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>

#include "main_utility/media/avi/AVIRepair.h"
#include "main_utility/media/avi/AVIWriter.h"
#include "support/Test.h"

namespace {

using FIELDS = std::map<size_t, tuint32>;
struct PIECE {
    std::string id;  // db: key frame, dc: other frame, wb: sound
    size_t size = 0;
    tint64 time = 0;
};
using PIECES = std::vector<PIECE>;

std::string Payload(size_t number, size_t size) {
    return (std::to_string(number) + std::string(size, static_cast<char>(number))).substr(0, size);
}

// Frames and sounds in turn, some of them larger than the writer's buffer.
PIECES Recording(size_t frames) {
    PIECES pieces;
    for (size_t i = 0; i < frames; ++i) {
        const size_t size = i % 16 == 9 && i < 400 ? 66552 + i : 40 + i * 791 % 3000;
        pieces.push_back({i % 10 == 0 ? "db" : "dc", size, static_cast<tint64>(i)});
        pieces.push_back({"wb", 41, static_cast<tint64>(i)});
    }
    return pieces;
}

tuint32 U32(const std::string& bytes, size_t at) {
    tuint32 value = 0xDEADBEEF;
    if (at + 4 <= bytes.size()) std::memcpy(&value, bytes.data() + at, 4);
    return value;
}

tuint32 Code(const std::string& letters) { return U32(letters, 0); }

std::string Put(std::string bytes, const FIELDS& fields) {
    for (const auto& [at, value] : fields) std::memcpy(bytes.data() + at, &value, 4);
    return bytes;
}

// The chunks of a growing file as "id" + payload. A complete one's index must name just these, and its sizes and lengths be theirs.
std::vector<std::string> Chunks(const std::string& bytes, bool bComplete = true) {
    std::vector<std::string> chunks;
    const size_t end = bComplete ? 2044 + U32(bytes, 2040) : bytes.size();
    size_t at = 2048, frames = 0, sound = 0;
    for (tuint32 size = 0; at + 8 <= end && at + 8 + (size = U32(bytes, at + 4)) <= bytes.size(); at += 8 + size) {
        const std::string id = bytes.substr(at, 4);
        if (id == "JUNK") continue;
        const tuint32 entry[] = {Code(id), id.substr(2) == "db" ? 16u : 0, static_cast<tuint32>(at - 2044), size};
        const size_t place = end + 8 + 16 * chunks.size();
        EXPECT_TRUE(!bComplete || bytes.compare(place, 16, reinterpret_cast<const char*>(entry), 16) == 0) << at;
        frames += id[1] == '0' ? 1 : 0;
        sound += id == "01wb" ? size : 0;
        chunks.push_back(id + bytes.substr(at + 8, size));
    }
    const size_t length = end + 8 + 16 * chunks.size();
    const FIELDS told = {{4, length - 8}, {140, frames},       {264, sound},
                         {2020, 0},       {end, Code("idx1")}, {end + 4, length - end - 8}};
    for (const auto& [place, value] : told) EXPECT_TRUE(!bComplete || U32(bytes, place) == value) << place;
    EXPECT_TRUE(!bComplete || (end == at + 4 - at % 4 && bytes.size() == length));
    return chunks;
}

// How many of the pieces stand there, in order, with nothing else but empty frames and time stamps.
size_t PiecesIn(const std::vector<std::string>& chunks, const PIECES& pieces) {
    size_t number = 0;
    for (const std::string& chunk : chunks) {
        if (chunk.size() == 4 || chunk[1] > '1') continue;
        const bool bSame =
            number < pieces.size() && chunk.substr(2) == pieces[number].id + Payload(number, pieces[number].size);
        EXPECT_TRUE(bSame) << "piece " << number;
        if (!bSame) break;
        ++number;
    }
    return number;
}

// The head of a closed file of these, in lines: an offset, then the 32-bit fields from there on. What stands nowhere is zero. From
// 314 to 530 all moves by the extra bytes of the audio format; + and - behind a field add them and take them off.
const PIECES THREE = {{"db", 100, 0}, {"wb", 11, 0}, {"dc", 7, 5}};
constexpr const char* HEAD =
    "0 RIFF 2312 AVI_ LIST 502+ hdrl avih 56 40000 0 0 272 0 0 2 0 704 576 0 0 0 0\n"
    "88 LIST 116 strl strh 56 vids H264 0 0 0 1 25 0 5 100 4294967295 0 0 37749440 strf 40 40 704 576 1572865 H264\n"
    "212 LIST 94+ strl strh 56 auds 0 0 0 0 1 8000 0 11 8000 4294967295 1 0 0 strf 18+ 65542 8000 8000 524289\n"
    "312 0+\n314 LIST 84 strl\n390 strf 8 0 0 LIST 84 strl\n482 strf 8 0 0\n"
    "498 LIST 16 odml dmlh 4 4 JUNK 1506-\n2016 131072 0\n2036 LIST 172 movi\n";

FIELDS HeadFields(tuint32 extra = 0) {
    FIELDS fields;
    std::istringstream lines(HEAD);
    for (std::string line, word; std::getline(lines, line);) {
        std::istringstream words(line);
        size_t at = 0;
        words >> at;
        if (at >= 314 && at < 530) at += extra;
        for (; words >> word; at += 4) {
            const tuint32 sign = word.back() == '+' ? 1 : word.back() == '-' ? tuint32(-1) : 0;
            if (word == "AVI_") word = "AVI ";
            const bool bNumber = isdigit(static_cast<unsigned char>(word[0]));
            fields[at] = bNumber ? static_cast<tuint32>(std::stoul(word)) + sign * extra : Code(word);
        }
    }
    return fields;
}

class Avi : public testing::Test {
protected:
    bool Open(CAVIWriter& writer, AVI_TYPE layout = AVI_TYPE_STD, int extra = 0) {
        m_wave.cbSize = static_cast<WORD>(extra);
        return writer.Open(m_path.c_str(), m_bmp, extra < 0 ? nullptr : &m_wave, extra >= 0, layout, 0);
    }
    bool Write(AVI_TYPE layout, const PIECES& pieces, std::atomic<size_t>* pGiven = nullptr, int extra = 0) {
        CAVIWriter writer;
        bool bGood = Open(writer, layout, extra);
        for (size_t i = 0; i < pieces.size() && bGood; ++i) {
            const std::string payload = Payload(i, pieces[i].size);
            bGood = writer.WriteData(reinterpret_cast<const unsigned char*>(payload.data()),
                                     static_cast<unsigned>(payload.size()), pieces[i].time, pieces[i].id != "wb",
                                     pieces[i].id == "db", true) == 0;
            if (pGiven) ++*pGiven;
        }
        if (pGiven) pause();  // to be killed
        EXPECT_TRUE(bGood || writer.FileCheck() == 261 || writer.FileCheck() == 257);
        return writer.Close() && bGood;
    }
    std::string Written(AVI_TYPE layout, const PIECES& pieces, int extra = 0) {
        EXPECT_TRUE(Write(layout, pieces, nullptr, extra));
        return Bytes();
    }
    std::string Bytes() { return ReadBytes(m_path); }
    void Set(const std::string& bytes, off_t size = -1) {
        std::ofstream(m_path, std::ios::binary) << bytes;
        EXPECT_EQ(size < 0 ? 0 : truncate(m_path.c_str(), size), 0);
    }
    AVI_REPAIR Repair(bool bForce = false) { return (m_report = CAVIRepair().Repair(m_path.c_str(), bForce)).result; }
    // All but what was gathered, or one chunk too large to be gathered, is there or comes back.
    void ExpectRepairable(const PIECES& pieces, size_t given) {
        const AVI_REPAIR result = Repair();
        ASSERT_TRUE(result == AVI_REPAIR::REPAIRED || result == AVI_REPAIR::WHOLE) << given;
        const size_t kept = PiecesIn(Chunks(Bytes()), pieces);
        size_t lost = 0;
        for (size_t i = kept; i < given; ++i) lost += pieces[i].size + 8;
        EXPECT_TRUE((lost <= 66560 || given - kept <= 1) && given <= kept + 41) << kept << " of " << given;
    }
    // As it was before the file was closed.
    static std::string Opened(const std::string& bytes) {
        return Put(bytes, {{4, 2040}, {140, 0}, {144, 0}, {264, 0}, {458, 0}, {518, 0}, {2020, 0xFFFFFFFF}, {2040, 4}});
    }

    CTempDir m_dir;
    const std::string m_path = m_dir.File("a.avi");
    BITMAPINFOHEADER m_bmp{40, 704, 576, 1, 24, Code("H264")};
    WAVEFORMATEX m_wave{6, 1, 8000, 8000, 1, 8, 0};
    AVI_REPAIR_REPORT m_report;
};

TEST_F(Avi, TheHeadHasEveryFieldAtItsOffset) {
    const std::string empty(2048, '\0');
    for (const int extra : {0, 2, 1486}) {
        const std::string bytes = Written(AVI_TYPE_STD, THREE, extra);
        EXPECT_EQ(bytes.substr(0, 2048), Put(empty, HeadFields(static_cast<tuint32>(extra))));
        EXPECT_EQ(bytes.size(), 2320u);
    }
    EXPECT_FALSE(Write(AVI_TYPE_STD, THREE, nullptr, 1487));
    const std::string silent = Written(AVI_TYPE_STD, {}, -1);
    EXPECT_EQ(silent.substr(224, 64) + silent.substr(296, 18) + silent.substr(314, 4), std::string(82, '\0') + "LIST");
    EXPECT_EQ(U32(silent, 32), 33367u);

    // Time stamp streams: copies of the other two but for type and handler, the fourth counts all stamps.
    FIELDS fields = HeadFields();
    for (size_t at = 100; at < 164; at += 4) fields[at + 226] = fields[at], fields[at + 318] = fields[at + 124];
    for (const size_t at : {326, 418}) fields[at + 8] = Code("txts"), fields[at + 12] = Code("ftms");
    fields[366] = fields[370] = 0, fields[140] = 2, fields[458] = 3, fields[56] = 4, fields[518] = 6;
    fields[4] = 2340, fields[2040] = 200;
    const std::string noSize = Written(AVI_TYPE_NOSIZE, THREE);
    EXPECT_EQ(noSize.substr(0, 2048), Put(empty, fields));
    EXPECT_EQ(PiecesIn(Chunks(noSize), THREE), 3u);
    EXPECT_EQ(noSize.substr(2048, 17), std::string("02db\x09\0\0\0\0\0\0\0\0\0\0\0\1", 17));

    EXPECT_FALSE(Write(AVI_TYPE_DEFSIZE, THREE)) << "it must have 64 MiB";
    Set("", 67108864);
    const std::string defSize = Written(AVI_TYPE_DEFSIZE, THREE);
    fields[4] = 0x3FFFFF8, fields[2040] = 63961084;
    EXPECT_EQ(defSize.substr(0, 2048), Put(empty, fields));
    EXPECT_EQ(defSize.substr(2048, 193), noSize.substr(2048, 193));
    EXPECT_EQ(defSize.substr(63963128, 104), std::string("idx1\x60\0\0\0", 8) + noSize.substr(noSize.size() - 96));
}

TEST_F(Avi, ChunksAsTheRulesGiveThem) {
    const std::pair<PIECES, std::string> rows[] = {
        {{{"wb", 9, 0}, {"dc", 9, 0}}, ""},
        {{{"wb", 9, 0}, {"db", 4, 0}, {"dc", 5, 5}}, "db4 dc0 dc0 dc0 dc5 "},
        {{{"db", 4, 3}, {"dc", 5, -9}, {"dc", 5, 2}}, "dc0 dc0 db4 dc5 dc5 "},
        {{{"db", 4, 0}, {"dc", 5, 5000000000}, {"dc", 6, 5000000002}}, "db4 dc5 dc0 dc6 "},  // a jump is no gap
        {{{"db", 4, 0}, {"dc", 5, LLONG_MAX}, {"dc", 6, LLONG_MAX}}, "db4 dc5 dc6 "},
        {{{"db", 66551, 0}, {"dc", 66552, 1}, {"dc", 66560, 2}, {"wb", 3, 0}}, "db66551 dc66552 dc66560 wb3 "},
    };
    for (const auto& [given, expected] : rows) {
        std::string found;
        for (const auto& chunk : Chunks(Written(AVI_TYPE_STD, given)))
            found += chunk.substr(2, 2) + std::to_string(chunk.size() - 4) + " ";
        EXPECT_EQ(found, expected);
    }
    EXPECT_EQ(Chunks(Written(AVI_TYPE_STD, {{"db", 4, 0}, {"dc", 4, 9002}})).size(), 9002u);
    EXPECT_EQ(Chunks(Written(AVI_TYPE_STD, {{"db", 4, 0}, {"dc", 4, 9003}})).size(), 2u);
    const auto pieces = Recording(10000);  // more chunks than the index takes at once
    EXPECT_EQ(PiecesIn(Chunks(Written(AVI_TYPE_STD, pieces)), pieces), pieces.size());
}

TEST_F(Avi, ASecondOpenLetsTheFirstFileGo) {
    const unsigned char data[8] = {};
    CAVIWriter writer;
    for (const char* pPath : {"/nowhere/a.avi", "/dev/null", "/", ""})
        EXPECT_FALSE(writer.Open(pPath, m_bmp, nullptr, true, AVI_TYPE_STD, 0));
    const int descriptors = OpenDescriptorCount();
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(Open(writer));
        EXPECT_EQ(U32(Bytes(), 2020), 0xFFFFFFFF);
        EXPECT_EQ(U32(Bytes(), 4), 2040u);
        EXPECT_EQ(std::make_pair(writer.GetFileLength(), writer.GetFirstFrameTime()),
                  std::make_pair(tint64{0}, tint64{-1}));
        EXPECT_EQ(writer.WriteData(data, 8, 1, true, true, false), 0);
        EXPECT_EQ(std::make_pair(writer.GetFileLength(), writer.GetWriteVideoTime()),
                  std::make_pair(tint64{2088}, tint64{40}));
    }
    EXPECT_EQ(OpenDescriptorCount(), descriptors + 1);
    EXPECT_FALSE(Write(AVI_TYPE_STD, THREE)) << "it is being written";
    EXPECT_EQ(Repair(), AVI_REPAIR::REFUSED);
    EXPECT_EQ(m_report.error, EBUSY);
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(writer.WriteData(data, 8, 0, true, true, false), -1);
    EXPECT_EQ(Chunks(Bytes()).size(), 1u);
}

TEST_F(Avi, FilesFillUp) {
    Set("", 67108864);
    const std::vector<unsigned char> data(60000);
    CAVIWriter writer;
    ASSERT_TRUE(Open(writer, AVI_TYPE_DEFSIZE));
    std::map<int, int> count;  // each frame takes 60025 bytes; with 10 MiB and 2 MiB left the status changes
    while (writer.WriteData(data.data(), 60000, 0, true, true, true) == 0) ++count[writer.FileCheck()];
    EXPECT_TRUE(writer.Close());
    EXPECT_EQ(count, (std::map<int, int>{{256, 890}, {259, 140}, {260, 35}}));
    EXPECT_EQ(U32(Bytes(), 63963132), 1065u * 32);
}

TEST_F(Avi, AFullDiskLeavesWhatWasWritten) {
    const auto pieces = Recording(60);
    const size_t whole = Written(AVI_TYPE_STD, pieces).size();
    for (size_t limit = 1000; limit < whole; limit += whole / (getenv("HLX_ALL_POINTS") ? 200 : 20)) {
        auto full = std::make_unique<CFullDisk>(limit);
        EXPECT_FALSE(Write(AVI_TYPE_STD, pieces)) << limit;
        full.reset();
        if (limit < 2048) continue;
        const std::string bytes = Bytes();
        EXPECT_EQ(U32(bytes, 4) + 8, bytes.size()) << limit;
        EXPECT_LE(2044 + U32(bytes, 2040), bytes.size()) << limit;
        size_t given = 0;  // what there was room for
        for (size_t at = 2048; (at += 8 + pieces[given].size) <= limit && given + 1 < pieces.size();) ++given;
        ExpectRepairable(pieces, given);
    }
}

TEST_F(Avi, AKilledRecordingCanBeRepaired) {
    const auto pieces = Recording(400);
    void* pShared = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto& given = *static_cast<std::atomic<size_t>*>(pShared);
    for (size_t point = 0; point < 200; point += getenv("HLX_ALL_POINTS") ? 1 : 20) {
        given = 0;
        Set("");
        const pid_t pid = fork();
        if (pid == 0) Write(AVI_TYPE_STD, pieces, &given);  // and waits
        while (given < 4 * point) sched_yield();
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        if (Bytes().size() >= 2048) ExpectRepairable(pieces, given);  // else the head was not written yet
    }
    munmap(pShared, 4096);
}

TEST_F(Avi, ARepairMakesTheFileThatCloseWouldHaveMade) {
    for (const AVI_TYPE layout : {AVI_TYPE_STD, AVI_TYPE_NOSIZE}) {
        const auto pieces = Recording(20);
        const std::string closed = Written(layout, pieces);
        const size_t last = closed.size() - 8;  // where the last entry tells place and size of its chunk
        const size_t end = 2044 + U32(closed, last) + 8 + U32(closed, last + 4);
        // Cut behind the chunks, in the gap, in the index, and just before the mark was taken away; broken off in the meantime.
        for (const size_t length : {end, end + 1, end + 6, end + 100, closed.size()}) {
            Set(Opened(closed).substr(0, length));
            auto full = std::make_unique<CFullDisk>(length % 2 ? 2000 : end + 500);
            EXPECT_EQ(Repair(), AVI_REPAIR::REFUSED);
            full.reset();
            EXPECT_EQ(m_report.error, EFBIG);
            EXPECT_EQ(Repair(), AVI_REPAIR::REPAIRED);
            EXPECT_TRUE(Bytes() == closed) << layout << " cut to " << length;
            EXPECT_EQ(std::make_pair(m_report.frames, m_report.audioBytes), std::make_pair(20u, 20u * 41));
            EXPECT_EQ(Repair(true), AVI_REPAIR::WHOLE);
        }
        for (size_t length = 2048; length < end; length += 9973) {
            Set(Opened(closed).substr(0, length));
            EXPECT_EQ(Repair(), AVI_REPAIR::REPAIRED);
            PiecesIn(Chunks(Bytes()), pieces);
        }
    }
}

TEST_F(Avi, ThePreallocatedFileKeepsWhatItsIndexKnows) {
    Set("", 67108864);
    Written(AVI_TYPE_DEFSIZE, Recording(200));  // is written over
    CAVIWriter writer;
    ASSERT_TRUE(Open(writer, AVI_TYPE_DEFSIZE));
    const std::string payload(3000, 'x');
    for (int i = 0; i < 50; ++i)
        writer.WriteData(reinterpret_cast<const unsigned char*>(payload.data()), 3000, i, true, true, true);
    ASSERT_TRUE(writer.Open(m_dir.File("b.avi").c_str(), m_bmp, nullptr, true, AVI_TYPE_STD, 0));
    EXPECT_EQ(Repair(), AVI_REPAIR::REPAIRED);
    EXPECT_EQ(m_report.frames, 39u);  // the 40th made room for itself, and its stamp had gone ahead
    EXPECT_EQ(U32(Bytes(), 63963132), (2 * 39 + 1) * 16u);
    EXPECT_EQ(Repair(true), AVI_REPAIR::WHOLE);
}

TEST_F(Avi, ARepairLeavesAloneWhatItCannotMakeBetter) {
    const std::string closed = Written(AVI_TYPE_STD, Recording(60));
    const size_t entry = 2044 + U32(closed, 2040) + 8;
    using enum AVI_REPAIR;
    const std::tuple<std::string, bool, AVI_REPAIR> rows[] = {
        {"", true, NOT_OURS},
        {std::string(5000, '\0'), true, NOT_OURS},
        {closed.substr(0, 2047), true, NOT_OURS},
        {Put(closed, {{128, 1u << 31}, {132, 1}}), true, NOT_OURS},
        {Put(closed, {{292, 5000}}), true, NOT_OURS},
        {closed, true, WHOLE},
        {Put(closed, {{entry, 0}}), false, CLOSED},
        {Put(closed, {{2048, 0}}), true, WORSE},
    };
    for (const auto& [bytes, bForce, result] : rows) {
        Set(bytes);
        EXPECT_EQ(Repair(bForce), result) << &bytes - &std::get<0>(rows[0]);
        EXPECT_TRUE(Bytes() == bytes);
    }
    for (const size_t at : {entry, size_t{4}, size_t{2040}, size_t{140}}) {
        Set(Put(closed, {{at, 7}}));
        EXPECT_EQ(Repair(true), REPAIRED);
        EXPECT_TRUE(Bytes() == closed) << at;
    }
    const size_t chunk = 2044 + U32(closed, entry + 60 * 16 + 8);
    Set(Opened(closed).replace(chunk, 4096, 4096, '\0'));  // behind damage it goes on
    EXPECT_EQ(Repair(), REPAIRED);
    EXPECT_TRUE(m_report.damagedBytes >= 4096 && m_report.damagedBytes < 10000) << m_report.damagedBytes;
    EXPECT_EQ(Chunks(Bytes()).back(), "01wb" + Payload(119, 41));
    EXPECT_EQ(Repair(true), WHOLE);
}

}  // namespace
