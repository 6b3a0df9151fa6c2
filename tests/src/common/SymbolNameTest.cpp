// The name rules of the layer, filter and layer-state dialogs.
#include "common/TvSymbolName.h"

#include <gtest/gtest.h>

#include <string>

TEST(SymbolName, OrdinaryNamesAreValid) {
    for (const wchar_t* name : {L"0", L"Walls", L"a b", L"Layer-1_x.y", L"Tür", L"\u58C1",
                                L"trailing ", L"\ttab first", L"it's", L"(1) [2] {3} #4 $5 %6 @7"})
        EXPECT_TRUE(tv::isValidSymbolName(name)) << ::testing::PrintToString(std::wstring(name));
}

TEST(SymbolName, EmptyLeadingSpaceAndRefusedCharacters) {
    EXPECT_FALSE(tv::isValidSymbolName(L""));
    EXPECT_FALSE(tv::isValidSymbolName(L" lead"));
    EXPECT_FALSE(tv::isValidSymbolName(L" "));
    for (wchar_t refused : std::wstring(L",<>/\\\":;?*|=`")) {
        const std::wstring middle = std::wstring(L"ab") + refused + L"cd";
        EXPECT_FALSE(tv::isValidSymbolName(middle)) << ::testing::PrintToString(middle);
        EXPECT_FALSE(tv::isValidSymbolName(std::wstring(1, refused)));
        EXPECT_FALSE(tv::isValidSymbolName(std::wstring(L"x") + refused));
    }
}

TEST(SymbolName, EscapesAreOneAcceptableCharacter) {
    for (const wchar_t* name : {L"\\U+00E9", L"a\\u+00e9b", L"\\M+18140", L"\\m+1abCD",
                                L"\\U+0041\\U+0042", L"x\\M+0ffff"})
        EXPECT_TRUE(tv::isValidSymbolName(name)) << ::testing::PrintToString(std::wstring(name));
    // A backslash that does not open a whole escape is refused.
    for (const wchar_t* name : {L"\\", L"a\\b", L"\\U+00E", L"\\U+00G9", L"\\U00E9", L"\\X+0041",
                                L"\\M+A8140", L"\\M+1814", L"\\M+1814G", L"\\U+ 0E9"})
        EXPECT_FALSE(tv::isValidSymbolName(name)) << ::testing::PrintToString(std::wstring(name));
}

TEST(SymbolName, LengthLimitCountsEscapesAsOneCharacter) {
    EXPECT_TRUE(tv::isValidSymbolName(std::wstring(255, L'a')));
    EXPECT_FALSE(tv::isValidSymbolName(std::wstring(256, L'a')));
    // 254 letters and one escape are 255 characters, though 261 code units long.
    EXPECT_TRUE(tv::isValidSymbolName(std::wstring(254, L'a') + L"\\U+0041"));
    EXPECT_TRUE(tv::isValidSymbolName(std::wstring(247, L'a') + L"\\M+18140"));
    EXPECT_FALSE(tv::isValidSymbolName(std::wstring(255, L'a') + L"\\U+0041"));
    std::wstring escapes;
    for (int i = 0; i < 255; ++i)
        escapes += L"\\u+00e9";
    EXPECT_TRUE(tv::isValidSymbolName(escapes));
    EXPECT_FALSE(tv::isValidSymbolName(escapes + L"\\u+00e9"));
}

TEST(SymbolNameLayerState, StricterListInItsOwnOrder) {
    EXPECT_EQ(tv::layerStateNameRefusal(L"Plan A"), L'\0');
    EXPECT_EQ(tv::layerStateNameRefusal(L""), L'\0');
    // Apostrophe and equals sign are refused here though layer names may hold the apostrophe.
    EXPECT_EQ(tv::layerStateNameRefusal(L"it's"), L'\'');
    EXPECT_TRUE(tv::isValidSymbolName(L"it's"));
    EXPECT_EQ(tv::layerStateNameRefusal(L"a=b"), L'=');
    // The back-tick is not on this list.
    EXPECT_EQ(tv::layerStateNameRefusal(L"a`b"), L'\0');
    // The list's order decides, not the position in the name.
    EXPECT_EQ(tv::layerStateNameRefusal(L"*x<"), L'<');
    EXPECT_EQ(tv::layerStateNameRefusal(L"a*b:c;d"), L';');
    EXPECT_EQ(tv::layerStateNameRefusal(L"\\U+0041"), L'\\'); // no escapes in state names
    for (wchar_t refused : std::wstring(L"<,>/?'\"\\|;:=*"))
        EXPECT_EQ(tv::layerStateNameRefusal(std::wstring(L"name") + refused), refused);
}

TEST(SymbolNameTrim, BlanksAreSpacesAndTabs) {
    EXPECT_EQ(tv::trimBlanks(L" \t Plan A \t "), L"Plan A");
    EXPECT_EQ(tv::trimBlanks(L" \t  "), L"");
    EXPECT_EQ(tv::trimBlanks(L""), L"");
    EXPECT_EQ(tv::trimBlanks(L"\nx\n"), L"\nx\n");
    EXPECT_EQ(tv::trimBlanks(L"a  b"), L"a  b");
}
