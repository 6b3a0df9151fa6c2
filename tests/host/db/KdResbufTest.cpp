// Tests of result-buffer lists: value kinds of group codes, building, copying and releasing.
#include "tv/KdResbuf.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace {

using Kind = KdRbValueKind;

struct CodeKind {
    int code;
    Kind kind;
};

class KdResbufValueKind : public ::testing::TestWithParam<CodeKind> {};

TEST_P(KdResbufValueKind, FollowsTheGroupCodeRanges) {
    EXPECT_EQ(kdutValueKind(GetParam().code), GetParam().kind) << "code " << GetParam().code;
}

// The edges of each range and the gaps between them.
INSTANTIATE_TEST_SUITE_P(
    Codes, KdResbufValueKind,
    ::testing::Values(
        CodeKind{-6, Kind::kNone}, CodeKind{-5, Kind::kName}, CodeKind{-4, Kind::kString},
        CodeKind{-3, Kind::kNone}, CodeKind{-2, Kind::kName}, CodeKind{-1, Kind::kName},
        CodeKind{0, Kind::kString}, CodeKind{9, Kind::kString}, CodeKind{10, Kind::kPoint},
        CodeKind{18, Kind::kPoint}, CodeKind{19, Kind::kNone}, CodeKind{20, Kind::kReal},
        CodeKind{39, Kind::kReal}, CodeKind{59, Kind::kReal}, CodeKind{60, Kind::kShort},
        CodeKind{79, Kind::kShort}, CodeKind{80, Kind::kNone}, CodeKind{90, Kind::kLong},
        CodeKind{99, Kind::kLong}, CodeKind{100, Kind::kString}, CodeKind{101, Kind::kNone},
        CodeKind{102, Kind::kString}, CodeKind{105, Kind::kString}, CodeKind{110, Kind::kPoint},
        CodeKind{112, Kind::kPoint}, CodeKind{113, Kind::kReal}, CodeKind{149, Kind::kReal},
        CodeKind{150, Kind::kNone}, CodeKind{160, Kind::kInt64}, CodeKind{210, Kind::kPoint},
        CodeKind{211, Kind::kReal}, CodeKind{240, Kind::kNone}, CodeKind{290, Kind::kShort},
        CodeKind{310, Kind::kBinary}, CodeKind{320, Kind::kString}, CodeKind{330, Kind::kName},
        CodeKind{369, Kind::kName}, CodeKind{370, Kind::kShort}, CodeKind{390, Kind::kName},
        CodeKind{420, Kind::kLong}, CodeKind{430, Kind::kString}, CodeKind{440, Kind::kLong},
        CodeKind{469, Kind::kReal}, CodeKind{481, Kind::kName}, CodeKind{482, Kind::kNone},
        CodeKind{999, Kind::kString}, CodeKind{1000, Kind::kString}, CodeKind{1004, Kind::kBinary},
        CodeKind{1010, Kind::kPoint}, CodeKind{1014, Kind::kNone}, CodeKind{1042, Kind::kReal},
        CodeKind{1043, Kind::kNone}, CodeKind{1070, Kind::kShort}, CodeKind{1071, Kind::kLong},
        CodeKind{1072, Kind::kNone}, CodeKind{RTSHORT, Kind::kShort}, CodeKind{RTANG, Kind::kReal},
        CodeKind{RT3DPOINT, Kind::kPoint}, CodeKind{RTSTR, Kind::kString},
        CodeKind{RTDXF0, Kind::kString}, CodeKind{RTPICKS, Kind::kName},
        CodeKind{RTLONG, Kind::kLong}, CodeKind{RTLONG_PTR, Kind::kInt64},
        CodeKind{RTINT64, Kind::kInt64}, CodeKind{RTLB, Kind::kNone}, CodeKind{RTNONE, Kind::kNone},
        CodeKind{12345, Kind::kNone}));

std::vector<const resbuf*> entries(const resbuf* rb) {
    std::vector<const resbuf*> out;
    for (; rb != nullptr; rb = rb->rbnext)
        out.push_back(rb);
    return out;
}

// A list with a value of every kind, as an entity list with extended data would carry them.
KdResbufPtr buildEveryKind(wchar_t* layer, char* chunkBytes) {
    const int64_t ename[2] = {0x1234, 0x5678};
    const double pt[3] = {1.5, -2.5, 3.25};
    const kd_binary chunk{4, chunkBytes};
    return KdResbufPtr(kdutBuildList(-1, ename, 0, L"LINE", 8, static_cast<const wchar_t*>(layer),
                                     10, pt, 40, 0.5, 70, 7, 90, static_cast<int32_t>(-70000), 160,
                                     int64_t{1} << 40, 310, &chunk, -3, 1001, L"APP", 1004, &chunk,
                                     RTLB, RTT, RTLE, RTNONE));
}

TEST(KdResbuf, BuildsAListWithEveryKindOfValue) {
    wchar_t layer[] = L"Walls";
    char bytes[] = {1, 0, 2, 3};
    KdResbufPtr list = buildEveryKind(layer, bytes);
    ASSERT_NE(list, nullptr);
    const auto rb = entries(list.get());
    ASSERT_EQ(rb.size(), 15u);
    EXPECT_EQ(rb[0]->restype, -1);
    EXPECT_EQ(rb[0]->resval.rlname[0], 0x1234);
    EXPECT_EQ(rb[0]->resval.rlname[1], 0x5678);
    EXPECT_STREQ(rb[1]->resval.rstring, L"LINE");
    EXPECT_STREQ(rb[2]->resval.rstring, L"Walls");
    EXPECT_EQ(rb[3]->resval.rpoint[0], 1.5);
    EXPECT_EQ(rb[3]->resval.rpoint[1], -2.5);
    EXPECT_EQ(rb[3]->resval.rpoint[2], 3.25);
    EXPECT_EQ(rb[4]->resval.rreal, 0.5);
    EXPECT_EQ(rb[5]->resval.rint, 7);
    EXPECT_EQ(rb[6]->resval.rlong, -70000);
    EXPECT_EQ(rb[7]->resval.mnInt64, int64_t{1} << 40);
    ASSERT_EQ(rb[8]->resval.rbinary.clen, 4);
    EXPECT_EQ(std::memcmp(rb[8]->resval.rbinary.buf, bytes, 4), 0);
    EXPECT_EQ(rb[9]->restype, -3);
    EXPECT_STREQ(rb[10]->resval.rstring, L"APP");
    EXPECT_EQ(rb[11]->resval.rbinary.clen, 4);
    EXPECT_EQ(rb[12]->restype, RTLB);
    EXPECT_EQ(rb[13]->restype, RTT);
    EXPECT_EQ(rb[14]->restype, RTLE);
    EXPECT_EQ(rb[14]->rbnext, nullptr);

    // Strings and chunks are the list's own copies.
    layer[0] = L'X';
    bytes[0] = 9;
    EXPECT_STREQ(rb[2]->resval.rstring, L"Walls");
    EXPECT_EQ(rb[8]->resval.rbinary.buf[0], 1);
    EXPECT_NE(rb[8]->resval.rbinary.buf, rb[11]->resval.rbinary.buf);
}

TEST(KdResbuf, UnknownCodeOrMissingValueGivesNullAndReleasesThePartialList) {
    // The strings built before the failure are released; the sanitizer run reports a leak
    // otherwise.
    EXPECT_EQ(kdutBuildList(0, L"LINE", 8, L"0", 19, 1.0, RTNONE), nullptr);
    EXPECT_EQ(kdutBuildList(1, L"x", 12345, 1, RTNONE), nullptr);
    EXPECT_EQ(kdutBuildList(1, L"x", 10, static_cast<const double*>(nullptr), RTNONE), nullptr);
    EXPECT_EQ(kdutBuildList(-1, static_cast<const int64_t*>(nullptr), RTNONE), nullptr);
    const kd_binary broken{5, nullptr};
    EXPECT_EQ(kdutBuildList(1, L"x", 310, &broken, RTNONE), nullptr);
    EXPECT_EQ(kdutBuildList(70000, 1, RTNONE), nullptr); // does not fit the short restype
}

TEST(KdResbuf, DuplicateIsDeepAndOutlivesTheOriginal) {
    wchar_t layer[] = L"Walls";
    char bytes[] = {1, 0, 2, 3};
    KdResbufPtr original = buildEveryKind(layer, bytes);
    ASSERT_NE(original, nullptr);
    KdResbufPtr copy(kdutDuplicateList(original.get()));
    const auto a = entries(original.get());
    const auto b = entries(copy.get());
    ASSERT_EQ(a.size(), b.size());
    EXPECT_NE(b[2]->resval.rstring, a[2]->resval.rstring);
    EXPECT_NE(b[8]->resval.rbinary.buf, a[8]->resval.rbinary.buf);
    original.reset();
    EXPECT_EQ(b[0]->resval.rlname[1], 0x5678);
    EXPECT_STREQ(b[2]->resval.rstring, L"Walls");
    EXPECT_EQ(b[3]->resval.rpoint[2], 3.25);
    EXPECT_EQ(b[6]->resval.rlong, -70000);
    EXPECT_EQ(std::memcmp(b[11]->resval.rbinary.buf, bytes, 4), 0);
    EXPECT_EQ(kdutDuplicateList(nullptr), nullptr);
}

TEST(KdResbuf, NewEntryIsZeroedAndReleaseAcceptsNull) {
    KdResbufPtr rb(kdutNewRb(1));
    ASSERT_NE(rb, nullptr);
    EXPECT_EQ(rb->restype, 1);
    EXPECT_EQ(rb->rbnext, nullptr);
    EXPECT_EQ(rb->resval.rstring, nullptr);
    EXPECT_EQ(kdutRelRb(nullptr), RTNORM);
    // An entry filled by hand owns its string as one from kdutBuildList does.
    rb->resval.rstring = new wchar_t[3]{L'A', L'B', L'\0'};
    EXPECT_EQ(kdutRelRb(rb.release()), RTNORM);
}

} // namespace
