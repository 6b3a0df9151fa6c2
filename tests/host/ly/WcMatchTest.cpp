// Wild-card matching: each pattern character, alternatives with negation, escapes, classes,
// case, and patterns that would make a naive backtracking matcher explode.
#include "tv/KdWcMatch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool matches(const wchar_t* s, const wchar_t* p) {
    return kdutWcMatch(s, p) == RTNORM;
}

TEST(WcMatchTest, SingleCharacterClassesTakeExactlyOneCharacter) {
    EXPECT_TRUE(matches(L"A1", L"A#"));
    EXPECT_FALSE(matches(L"AB", L"A#"));
    EXPECT_FALSE(matches(L"A12", L"A#"));
    EXPECT_FALSE(matches(L"A", L"A#"));

    EXPECT_TRUE(matches(L"x7", L"@#"));
    EXPECT_TRUE(matches(L"\u00e97", L"@#")); // accented letter
    EXPECT_TRUE(matches(L"\u04157", L"@#")); // Cyrillic letter
    EXPECT_FALSE(matches(L"_7", L"@#"));

    EXPECT_TRUE(matches(L"A-B", L"A.B"));
    EXPECT_TRUE(matches(L"A B", L"A.B"));
    EXPECT_FALSE(matches(L"AxB", L"A.B"));
    EXPECT_FALSE(matches(L"A5B", L"A.B"));

    EXPECT_TRUE(matches(L"WALL", L"W?LL"));
    EXPECT_FALSE(matches(L"WLL", L"W?LL"));
}

TEST(WcMatchTest, StarsMatchAnySequenceIncludingNone) {
    EXPECT_TRUE(matches(L"", L"*"));
    EXPECT_TRUE(matches(L"WALL", L"W*"));
    EXPECT_TRUE(matches(L"W", L"W*"));
    EXPECT_TRUE(matches(L"Layer_lw_035", L"*lw*5"));
    EXPECT_FALSE(matches(L"Layer_lw_036", L"*lw*5"));
    EXPECT_TRUE(matches(L"abcabd", L"*ab?"));
    EXPECT_TRUE(matches(L"abab", L"*ab*ab"));
    EXPECT_FALSE(matches(L"abab", L"*ab*ab*ab"));
    EXPECT_TRUE(matches(L"x", L"**x**"));
    // Without a star the whole string must be consumed.
    EXPECT_FALSE(matches(L"WALLS", L"WALL"));
    EXPECT_TRUE(matches(L"", L""));
    EXPECT_FALSE(matches(L"A", L""));
}

TEST(WcMatchTest, CaseIsIgnoredAlsoBeyondAscii) {
    EXPECT_TRUE(matches(L"wall", L"WALL"));
    EXPECT_TRUE(matches(L"WALL", L"w*l"));
    EXPECT_TRUE(matches(L"\u0441\u0442\u0435\u043d\u0430", L"\u0421\u0422*")); // "стена" vs "СТ*"
    EXPECT_TRUE(matches(L"q", L"[A-Z]"));
    EXPECT_TRUE(matches(L"Q", L"[a-z]"));
}

TEST(WcMatchTest, BracketClassesRangesAndTheirNegation) {
    EXPECT_TRUE(matches(L"A2", L"A[123]"));
    EXPECT_FALSE(matches(L"A4", L"A[123]"));
    EXPECT_TRUE(matches(L"A4", L"A[0-9]"));
    EXPECT_TRUE(matches(L"Ax", L"A[a-cx-z]"));
    EXPECT_FALSE(matches(L"Ad", L"A[a-cx-z]"));
    EXPECT_TRUE(matches(L"A4", L"A[~123]"));
    EXPECT_FALSE(matches(L"A2", L"A[~123]"));
    EXPECT_FALSE(matches(L"A", L"A[~123]")); // still one character
    // A hyphen at either end is a member; "[~]" is the tilde itself.
    EXPECT_TRUE(matches(L"-", L"[-a]"));
    EXPECT_TRUE(matches(L"-", L"[a-]"));
    EXPECT_TRUE(matches(L"~", L"[~]"));
    // Commas and stars inside brackets are members, not separators or wild cards.
    EXPECT_TRUE(matches(L",", L"[,*]"));
    EXPECT_FALSE(matches(L"x", L"[,*]"));
    // An unclosed bracket is an ordinary character.
    EXPECT_TRUE(matches(L"[ab", L"[ab"));
    EXPECT_FALSE(matches(L"a", L"[ab"));
}

TEST(WcMatchTest, AlternativesAndNegation) {
    EXPECT_TRUE(matches(L"DOOR", L"WALL*,DOOR*"));
    EXPECT_TRUE(matches(L"WALL-2", L"WALL*,DOOR*"));
    EXPECT_FALSE(matches(L"WINDOW", L"WALL*,DOOR*"));

    EXPECT_TRUE(matches(L"WINDOW", L"~WALL*"));
    EXPECT_FALSE(matches(L"WALL1", L"~WALL*"));
    // Negation applies to its own alternative only: either alternative may admit.
    EXPECT_TRUE(matches(L"WALL1", L"~WALL*,*1"));
    EXPECT_FALSE(matches(L"WALL2", L"~WALL*,*1"));
    EXPECT_TRUE(matches(L"DOOR", L"WALL*,~*1"));
    // A tilde inside an alternative is an ordinary character.
    EXPECT_TRUE(matches(L"A~B", L"A~B"));
    EXPECT_FALSE(matches(L"AB", L"A~B"));
    // Empty alternatives match only the empty string.
    EXPECT_TRUE(matches(L"", L"A,"));
    EXPECT_FALSE(matches(L"B", L"A,,C"));
}

TEST(WcMatchTest, BackquoteTakesTheNextCharacterLiterally) {
    EXPECT_TRUE(matches(L"A*B", L"A`*B"));
    EXPECT_FALSE(matches(L"AxB", L"A`*B"));
    EXPECT_TRUE(matches(L"1,2", L"1`,2"));
    EXPECT_FALSE(matches(L"1", L"1`,2"));
    EXPECT_TRUE(matches(L"#", L"`#"));
    EXPECT_FALSE(matches(L"5", L"`#"));
    EXPECT_TRUE(matches(L"~X", L"`~X"));
    EXPECT_FALSE(matches(L"Y", L"`~X"));
    EXPECT_TRUE(matches(L"a]", L"[`]a]]"));
    EXPECT_TRUE(matches(L"A`", L"A`")); // a trailing back-quote stands for itself
}

TEST(WcMatchTest, NullArgumentsDoNotMatch) {
    EXPECT_EQ(kdutWcMatch(nullptr, L"*"), RTERROR);
    EXPECT_EQ(kdutWcMatch(L"A", nullptr), RTERROR);
}

TEST(WcMatchTest, ManyStarsOnLongStringsFinish) {
    // Exponential for naive backtracking; must return quickly here.
    const std::wstring text(5000, L'a');
    EXPECT_FALSE(matches(text.c_str(), L"*a*a*a*a*a*a*a*a*a*a*a*a*b"));
    EXPECT_TRUE(matches((text + L"b").c_str(), L"*a*a*a*a*a*a*a*a*a*a*a*a*b"));
    std::wstring pattern;
    for (int i = 0; i < 200; ++i)
        pattern += L"*a";
    EXPECT_FALSE(matches(text.substr(0, 199).c_str(), pattern.c_str()));
    EXPECT_TRUE(matches(text.c_str(), (pattern + L"*").c_str()));
}

} // namespace
