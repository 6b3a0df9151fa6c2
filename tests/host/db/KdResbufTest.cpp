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

// The edges of each range and the gaps between them.
TEST(KdResbufValueKind, FollowsTheGroupCodeRanges) {
    const CodeKind cases[] = {
        {-6, Kind::kNone},         {-5, Kind::kName},       {-4, Kind::kString},
        {-3, Kind::kNone},         {-2, Kind::kName},       {-1, Kind::kName},
        {0, Kind::kString},        {9, Kind::kString},      {10, Kind::kPoint},
        {18, Kind::kPoint},        {19, Kind::kNone},       {20, Kind::kReal},
        {39, Kind::kReal},         {59, Kind::kReal},       {60, Kind::kShort},
        {79, Kind::kShort},        {80, Kind::kNone},       {90, Kind::kLong},
        {99, Kind::kLong},         {100, Kind::kString},    {101, Kind::kNone},
        {102, Kind::kString},      {105, Kind::kString},    {110, Kind::kPoint},
        {112, Kind::kPoint},       {113, Kind::kReal},      {149, Kind::kReal},
        {150, Kind::kNone},        {160, Kind::kInt64},     {210, Kind::kPoint},
        {211, Kind::kReal},        {240, Kind::kNone},      {290, Kind::kShort},
        {310, Kind::kBinary},      {320, Kind::kString},    {330, Kind::kName},
        {369, Kind::kName},        {370, Kind::kShort},     {390, Kind::kName},
        {420, Kind::kLong},        {430, Kind::kString},    {440, Kind::kLong},
        {469, Kind::kReal},        {481, Kind::kName},      {482, Kind::kNone},
        {999, Kind::kString},      {1000, Kind::kString},   {1004, Kind::kBinary},
        {1010, Kind::kPoint},      {1014, Kind::kNone},     {1042, Kind::kReal},
        {1043, Kind::kNone},       {1070, Kind::kShort},    {1071, Kind::kLong},
        {1072, Kind::kNone},       {RTSHORT, Kind::kShort}, {RTANG, Kind::kReal},
        {RT3DPOINT, Kind::kPoint}, {RTSTR, Kind::kString},  {RTDXF0, Kind::kString},
        {RTPICKS, Kind::kName},    {RTLONG, Kind::kLong},   {RTLONG_PTR, Kind::kInt64},
        {RTINT64, Kind::kInt64},   {RTLB, Kind::kNone},     {RTNONE, Kind::kNone},
        {12345, Kind::kNone}};
    for (const CodeKind& c : cases)
        EXPECT_EQ(kdutValueKind(c.code), c.kind) << "code " << c.code;
}

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
