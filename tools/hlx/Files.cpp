#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "Commands.h"
#include "DateText.h"
#include "Listing.h"
#include "Output.h"
#include "Session.h"
#include "TimeText.h"

namespace {

using Files = std::vector<HLX_REC_FILE>;

constexpr size_t MOST_AT_ONCE = 10'000;  // files that one request names

struct ACTION {
    FILE_ACTION eAction;
    BOOL (*pfnRun)(LONG, const HLX_REC_FILE*, LONG);
    const char* sDone;
};
constexpr ACTION ACTIONS[] = {{FILE_ACTION::LOCK, HLX_LockFile, "locked"},
                              {FILE_ACTION::UNLOCK, HLX_UnlockFile, "unlocked"},
                              {FILE_ACTION::REMOVE, HLX_DeleteRecFile, "deleted"}};

// Nothing after a failure, which is the last error. A file search gives one number for all failures, so another kind of
// search is asked what the matter is.
std::optional<Files> FindFiles(LONG lUserID, LONG lChannel, const SPAN& span) {
    const DD_TIME from = LibraryTime(span.nFrom);
    const DD_TIME to = LibraryTime(span.nTo);
    Files files;
    const auto keep = [&files](const HLX_REC_FILE& file) {
        files.push_back(file);
        return true;
    };
    TakeFound(HLX_FindFile(lUserID, lChannel, &from, &to), HLX_FindNextFile, HLX_FindClose, keep);
    if (!files.empty()) return files;
    const auto none = [](const HLX_REC_TIME&) { return false; };
    const POINTERHANDLE lFind = HLX_FindTime(lUserID, lChannel, &from, &to);
    if (!TakeFound(lFind, HLX_FindNextTime, HLX_FindTimeClose, none)) return {};
    return files;
}

bool AddFile(CListing& listing, bool bJson, const HLX_REC_FILE& file) {
    const bool bLocked = file.bFileLocked != 0;
    if (bJson) {
        auto record = SpanJson("file", file.dwChannel, file.startTime, file.stopTime);
        record["disk"] = file.dwPartition;
        record["file"] = file.dwFileIndex;
        record["locked"] = bLocked;
        record["kind"] = RecordTypeText(file.dwRecType);
        return listing.AddJson(record);
    }
    return listing.Add(fmt::format("{}  {:>10}  {:<6}  {}", SpanColumns(file.dwChannel, file.startTime, file.stopTime),
                                   fmt::format("{}:{}", file.dwPartition, file.dwFileIndex), bLocked ? "yes" : "",
                                   RecordTypeText(file.dwRecType)));
}

int Print(bool bJson, const Files& files) {
    CListing listing(bJson ? "" : SpanHead(fmt::format("{:>10}  {:<6}  {}", "disk:file", "locked", "kind")));
    for (const HLX_REC_FILE& file : files) {
        if (!AddFile(listing, bJson, file)) break;
    }
    return listing.End();
}

// EXIT_OK for a yes, which only a deletion needs.
EXIT_CODE AskFirst(const OPTIONS& options, const Files& files) {
    if (options.find.eAction != FILE_ACTION::REMOVE) return EXIT_OK;
    const auto nLocked = std::ranges::count_if(files, [](const HLX_REC_FILE& file) { return file.bFileLocked != 0; });
    const bool bJson = options.connect.bJson;
    if (nLocked != 0) {
        return Fail(bJson, fmt::format("{} of {} files are locked: nothing is deleted", nLocked, files.size()),
                    EXIT_FAILED);
    }
    if (options.find.bYes) return EXIT_OK;
    PrintNote(fmt::format("Delete {} files for good? [y/N]", files.size()));
    char answer[64] = "";
    const ssize_t nRead = read(STDIN_FILENO, answer, sizeof answer);
    if (nRead > 0 && (answer[0] == 'y' || answer[0] == 'Y')) return EXIT_OK;
    return Fail(bJson, "nothing is deleted", EXIT_FAILED);
}

EXIT_CODE Change(const OPTIONS& options, LONG lUserID, const Files& files) {
    const bool bJson = options.connect.bJson;
    const auto* pAction = std::ranges::find(ACTIONS, options.find.eAction, &ACTION::eAction);
    if (pAction == std::end(ACTIONS) || files.empty()) return EXIT_OK;
    if (const EXIT_CODE eExit = AskFirst(options, files); eExit != EXIT_OK) return eExit;
    for (size_t nDone = 0; nDone < files.size(); nDone += MOST_AT_ONCE) {
        const size_t nNow = std::min(MOST_AT_ONCE, files.size() - nDone);
        if (pAction->pfnRun(lUserID, files.data() + nDone, static_cast<LONG>(nNow))) continue;
        return FailLast(bJson, fmt::format("{} of {} files are {}; the next", nDone, files.size(), pAction->sDone));
    }
    if (bJson) return PrintedExit(PrintJson({{"event", pAction->sDone}, {"files", files.size()}}));
    return PrintedExit(PrintData(fmt::format("{} files {}\n", files.size(), pAction->sDone)));
}

EXIT_CODE ListAndChange(const OPTIONS& options, const CSession& session) {
    const bool bJson = options.connect.bJson;
    const int64_t lChannel = options.find.lChannel;
    const SPAN span = WholeSpan(options.find.span);
    const auto files = FindFiles(session.UserID(), static_cast<LONG>(lChannel), span);
    if (!files) return FailLast(bJson, "the recording files");
    if (files->empty()) {
        PrintNote(fmt::format("hlx: no files of {} {}", ChannelText(lChannel), SpanText(span)));
        return EXIT_OK;
    }
    if (const EXIT_CODE eExit = PrintedExit(Print(bJson, *files)); eExit != EXIT_OK) return eExit;
    return Change(options, session.UserID(), *files);
}

}  // namespace

EXIT_CODE RunFiles(const OPTIONS& options, CInterrupt& interrupt) {
    const bool bCanAsk = isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
    if (options.find.eAction == FILE_ACTION::REMOVE && !options.find.bYes && !bCanAsk)
        return Fail(options.connect.bJson, "nobody can be asked here: say --yes to delete files", EXIT_USAGE);
    return RunInSession(options.connect, interrupt, options.find.lChannel,
                        [&](const CSession& session) { return ListAndChange(options, session); });
}
