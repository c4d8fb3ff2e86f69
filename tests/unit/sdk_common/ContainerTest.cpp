#include <list>

#include "sdk_common/Guid.h"
#include "sdk_common/MyList.h"
#include "sdk_common/WireReader.h"
#include "support/Test.h"

namespace {

TEST(MyList, ActsAsASequence) {
    std::mt19937 random(7);
    CMyList<int> list;
    std::list<int> model;
    for (int value = 0; value < 3000; ++value) {
        auto pos = list.GetHeadPosition();
        auto place = model.begin();
        for (auto steps = model.empty() ? 0 : random() % model.size(); steps > 0; --steps) list.GetNext(pos), ++place;
        const auto act = random() % 8;
        if (act == 0) list.AddHead(value), model.push_front(value);
        if (act == 1) list.AddTail(value), model.push_back(value);
        if (act == 2) list.InsertBefore(pos, value), model.insert(place, value);
        if (act == 3 && pos) list.InsertAfter(pos, value), model.insert(std::next(place), value);
        if (act == 4 && pos) list.SetAt(pos, -value), *place = -value;
        if (act == 5 && pos) list.RemoveHead(), model.pop_front();
        if (act == 6 && pos) list.RemoveTail(), model.pop_back();
        if (act == 7 && pos) list.RemoveAt(pos), model.erase(place);
        std::list<int> forward, backward;
        for (pos = list.GetHeadPosition(); pos;) forward.push_back(list.GetNext(pos));
        for (pos = list.GetTailPosition(); pos;) backward.push_front(list.GetPrev(pos));
        ASSERT_TRUE(forward == model && backward == model && list.GetCount() == static_cast<int>(model.size())) << act;
    }
}

TEST(Guid, TextAndBack) {
    const GUID guid{0x1A, 0xBC, 0xFFFF, {0, 1, 2, 0xDE, 0xAD, 0xBE, 0xEF, 9}};
    const std::string text = "{0000001A-00BC-FFFF-0001-02DEADBEEF09}";
    char printed[GUID_TEXT_SIZE];
    EXPECT_TRUE(GuidToString(guid, printed) && printed == text);
    for (size_t length = 0; length <= text.size(); ++length)
        EXPECT_EQ(GetGuidFromString(text.substr(0, length).c_str()), length == text.size() ? guid : GUID{});
    GUID made{}, other{};
    EXPECT_TRUE(CreateGUID(made) && CreateGUID(other) && !(made == other));
    EXPECT_TRUE(made.Data3 >> 12 == 4 && made.Data4[0] >> 6 == 2);  // a random UUID, in the order of its text
}

TEST(WireReader, NeverLeavesItsBytes) {
    const std::vector<char> bytes{1, 0, 0, 0, 'a', 'b', 0, 'c', 'd', 'e'};
    for (size_t length = 0; length <= bytes.size(); ++length) {
        const std::vector<char> cut(bytes.data(), bytes.data() + length);  // so that a read outside is seen
        CWireReader reader(cut.data(), cut.size());
        EXPECT_EQ(reader.Read<tuint32>(), length < 4 ? 0u : 1u);
        EXPECT_EQ(reader.Text(4), length < 8 ? "" : "ab");
        EXPECT_EQ(reader.Text(2), length < 10 ? "" : "de");
        EXPECT_EQ(reader.Good(), length == 10);
        EXPECT_TRUE(reader.Bytes(SIZE_MAX).empty() && !reader.Good());
    }
}

}  // namespace
