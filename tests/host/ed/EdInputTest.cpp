// Command-line input: script lines, keyword prompts with abbreviations and global forms, Enter
// and cancel, nested picks through block references, misses, and printed output.
#include "tv/KdDbAds.h"
#include "KdDbAccess.h"
#include "tv/KdDbBlockTableRecord.h"
#include "tv/KdDbDatabase.h"
#include "tv/KdDbEntity.h"
#include "tv/KdDbSymbolTable.h"
#include "tv/KdEdEditor.h"
#include "tv/KdEdInput.h"

#include "ScopedLocale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

class EdInputTest : public ::testing::Test {
protected:
    void SetUp() override {
        kdedSetCurrentDatabase(&m_db);
        kdedSetInputSource(&m_script);
        kdedCaptureOutput();
        kdedTakeCapturedOutput();
    }
    void TearDown() override {
        kdedSetInputSource(nullptr);
        kdedSetOutputStream(nullptr);
        kdedDatabaseClosed(&m_db);
        kdedSetShortVar(L"ERRNO", 0);
    }

    /// Asks for a keyword of "Frieren Tauen eXit LOck" whose global forms are English.
    int askKeyword(std::wstring& result, int flags = 0) {
        kdedInitGet(flags, L"Frieren Tauen eXit LOck _ Freeze Thaw Exit Lock");
        wchar_t buf[64] = L"unchanged";
        const int rc = kdedGetKword(L"\nOption: ", buf, 64);
        result = buf;
        return rc;
    }

    KdDbDatabase m_db;
    KdEdScriptInput m_script;
};

TEST(EdInputLineTest, LinesReadAsAnswers) {
    auto ev = KdEdInputSource::parseLine(L"  ");
    EXPECT_EQ(ev.kind, KdEdInputEvent::kEnter);
    EXPECT_EQ(KdEdInputSource::parseLine(L"*CANCEL*").kind, KdEdInputEvent::kCancel);
    ev = KdEdInputSource::parseLine(L"  Freeze ");
    EXPECT_EQ(ev.kind, KdEdInputEvent::kText);
    EXPECT_EQ(ev.text, L"Freeze");

    ev = KdEdInputSource::parseLine(L"pick 2F via 40 41 42");
    ASSERT_EQ(ev.kind, KdEdInputEvent::kPick);
    EXPECT_FALSE(ev.miss);
    EXPECT_EQ(ev.handle, 0x2Fu);
    EXPECT_EQ(ev.via, (std::vector<uint64_t>{0x40, 0x41, 0x42}));

    ev = KdEdInputSource::parseLine(L"pick 1.5,-2");
    ASSERT_EQ(ev.kind, KdEdInputEvent::kPick);
    EXPECT_TRUE(ev.hasPoint);
    EXPECT_DOUBLE_EQ(ev.point[0], 1.5);
    EXPECT_DOUBLE_EQ(ev.point[1], -2.0);

    // Malformed picks hit nothing rather than something else.
    for (const wchar_t* bad : {L"pick none", L"pick XYZ", L"pick 2F via", L"pick 2F by 40",
                               L"pick 2F via 40 zz", L"pick 1,2,3,4", L"pick 0"}) {
        ev = KdEdInputSource::parseLine(bad);
        EXPECT_EQ(ev.kind, KdEdInputEvent::kPick) << KdString(bad).utf8();
        EXPECT_TRUE(ev.miss) << KdString(bad).utf8();
    }
}

TEST(EdInputLineTest, ScriptFilesAndStreams) {
    KdEdScriptInput script;
    std::string err;
    EXPECT_FALSE(script.loadFile("/nonexistent/dir/script.scr", &err));
    EXPECT_NE(err.find("script.scr"), std::string::npos);
    EXPECT_EQ(script.remaining(), 0u);

    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    std::fputs("Frieren\r\n\nSchicht \xC3\xA4\n", f);
    std::rewind(f);
    KdEdFileInput in(f);
    EXPECT_EQ(in.next().text, L"Frieren");
    EXPECT_EQ(in.next().kind, KdEdInputEvent::kEnter);
    EXPECT_EQ(in.next().text, L"Schicht \u00e4");
    EXPECT_EQ(in.next().kind, KdEdInputEvent::kEnd);
    std::fclose(f);
}

TEST_F(EdInputTest, KeywordsByAbbreviationAndGlobalForm) {
    m_script.append(L"fr\nX\nexit\n_thaw\nlo\nTAUEN\n");
    std::wstring kw;
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Freeze");
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Exit");
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Exit");
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Thaw");
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Lock");
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Thaw");
    wchar_t last[16];
    EXPECT_EQ(kdedGetInput(last, 16), RTNORM);
    EXPECT_EQ(std::wstring(last), L"Thaw");
}

TEST_F(EdInputTest, NonKeywordsArePromptedAgain) {
    // "ex" is neither the capital X nor the whole word; "l" is shorter than "LO"; "Freeze" is
    // a global form typed without "_".
    m_script.append(L"ex\nl\nFreeze\ntauen\n");
    std::wstring kw;
    EXPECT_EQ(askKeyword(kw), RTNORM);
    EXPECT_EQ(kw, L"Thaw");
    const std::wstring out = kdedTakeCapturedOutput();
    size_t n = 0;
    for (size_t p = out.find(L"Invalid option keyword."); p != std::wstring::npos;
         p = out.find(L"Invalid option keyword.", p + 1))
        ++n;
    EXPECT_EQ(n, 3u);
}

TEST_F(EdInputTest, EnterCancelAndRunningOut) {
    m_script.append(L"\n\nfr\n*cancel*\n");
    std::wstring kw;
    EXPECT_EQ(askKeyword(kw), RTNONE);
    EXPECT_EQ(askKeyword(kw, RSG_NONULL), RTNORM); // Enter refused, asked again
    EXPECT_EQ(kw, L"Freeze");
    EXPECT_EQ(askKeyword(kw), RTCAN);
    EXPECT_EQ(askKeyword(kw), RTCAN); // nothing more to read
}

TEST_F(EdInputTest, ArbitraryTextAndBufferLimits) {
    m_script.append(L"Hello there\nfr\n");
    std::wstring kw;
    EXPECT_EQ(askKeyword(kw, RSG_OTHER), RTNORM);
    EXPECT_EQ(kw, L"Hello there");
    kdedInitGet(0, L"Frieren _ Freeze");
    wchar_t small[6];
    EXPECT_EQ(kdedGetKword(L"", small, 6), RTERROR); // "Freeze" needs 7 characters
    EXPECT_EQ(kdedGetKword(L"", nullptr, 10), RTERROR);
    wchar_t tiny[3];
    EXPECT_EQ(kdedGetInput(tiny, 3), RTERROR);
}

TEST_F(EdInputTest, KeywordsLastForOnePromptOnly) {
    m_script.append(L"fr\nfr\n");
    kdedInitGet(0, L"Frieren _ Freeze");
    wchar_t buf[32];
    EXPECT_EQ(kdedGetKword(L"", buf, 32), RTNORM);
    // The second prompt has no keywords: "fr" is refused and the script runs out.
    EXPECT_EQ(kdedGetKword(L"", buf, 32), RTCAN);
}

TEST_F(EdInputTest, PrintfTakesWideAndNarrowText) {
    const int n =
        kdutPrintf(L"Layer \"%s\" frozen %d time(s) %hs|%-4s|", L"W\u00e4nde", 2, "ok", L"ab");
    const std::wstring out = kdedTakeCapturedOutput();
    EXPECT_EQ(out, L"Layer \"W\u00e4nde\" frozen 2 time(s) ok|ab  |");
    EXPECT_EQ(n, static_cast<int>(out.size()));
    EXPECT_EQ(kdutPrintf(L"100%%"), 4);
    std::wstring longText(5000, L'x');
    EXPECT_EQ(kdutPrintf(L"%s", longText.c_str()), 5000);
}

/// Printed UTF-8 text and numbers, and a script's point pick, under the locale in force.
static void expectTextAndNumbersAsInC(const std::string& locale) {
    const int n = kdutPrintf(L"%hs %s: %.2f mm, %g%%", "W\xC3\xA4nde", L"\u20ac", 0.25, 1.5);
    const std::wstring out = kdedTakeCapturedOutput();
    EXPECT_EQ(out, L"W\u00e4nde \u20ac: 0.25 mm, 1.5%") << locale;
    EXPECT_EQ(n, static_cast<int>(out.size()));
    EXPECT_EQ(kdutPrintf(L"%q %d", 1), -1); // a bad format prints nothing
    EXPECT_EQ(kdedTakeCapturedOutput(), L"");
    const KdEdInputEvent ev = KdEdInputSource::parseLine(L"pick 0.5,-2.25");
    ASSERT_EQ(ev.kind, KdEdInputEvent::kPick);
    EXPECT_TRUE(ev.hasPoint) << locale;
    EXPECT_EQ(ev.point[0], 0.5);
    EXPECT_EQ(ev.point[1], -2.25);
    EXPECT_TRUE(KdEdInputSource::parseLine(L"pick 0,5,1").hasPoint); // three coordinates
    EXPECT_TRUE(KdEdInputSource::parseLine(L"pick 0,5;1").miss);
}

// Under "C" the C library cannot convert UTF-8 at all; under German it writes "0,25".
TEST_F(EdInputTest, PrintfIsTheSameInEveryLocale) {
    {
        tvtest::ScopedLocale c{"C"};
        expectTextAndNumbersAsInC(c.name());
    }
    tvtest::ScopedLocale comma{tvtest::CommaDecimalPoint{}};
    ASSERT_TRUE(comma.hasCommaDecimalPoint())
        << "no German or French locale is installed (scripts/setup.sh makes de_DE.UTF-8)";
    expectTextAndNumbersAsInC(comma.name());
}

/// Three blocks, each inside the next: OUTER holds MIDDLE, MIDDLE holds INNER, INNER a line.
class EdNestedPickTest : public EdInputTest {
protected:
    KdDbObjectId addBlock(const wchar_t* name) {
        KdDbBlockTable* table = nullptr;
        EXPECT_EQ(m_db.getSymbolTable(table, KdDb::kForWrite), Kdad::eOk);
        auto* block = new KdDbBlockTableRecord;
        EXPECT_EQ(block->setName(name), Kdad::eOk);
        KdDbObjectId id;
        EXPECT_EQ(table->add(id, block), Kdad::eOk);
        table->close();
        return id;
    }

    KdDbObjectId append(KdDbObjectId block, KdDbEntity* ent,
                        std::vector<std::pair<int, std::string>> values) {
        std::vector<KdDbTag> tags;
        for (auto& [code, text] : values) {
            std::string_view s = KdDbAccess::storeString(&m_db, text);
            tags.push_back(
                KdDbTag{s.data(), static_cast<uint32_t>(s.size()), static_cast<int16_t>(code)});
        }
        KdDbAccess::setTags(ent, std::move(tags));
        KdDbObjectPointer<KdDbBlockTableRecord> owner(block, KdDb::kForWrite);
        KdDbObjectId id;
        EXPECT_TRUE(owner);
        EXPECT_EQ(owner->appendKdDbEntity(id, ent), Kdad::eOk);
        return id;
    }

    KdDbObjectId insert(KdDbObjectId into, const char* block, const char* x, const char* y,
                        const char* scale, const char* angle) {
        return append(into, new KdDbBlockReference,
                      {{8, "0"},
                       {100, "AcDbBlockReference"},
                       {2, block},
                       {10, x},
                       {20, y},
                       {30, "0"},
                       {41, scale},
                       {42, scale},
                       {43, scale},
                       {50, angle}});
    }

    void SetUp() override {
        EdInputTest::SetUp();
        const KdDbObjectId outer = addBlock(L"OUTER");
        const KdDbObjectId middle = addBlock(L"MIDDLE");
        const KdDbObjectId inner = addBlock(L"INNER");
        m_line = append(inner, new KdDbEntity("LINE"),
                        {{8, "0"},
                         {100, "AcDbLine"},
                         {10, "1"},
                         {20, "0"},
                         {30, "0"},
                         {11, "2"},
                         {21, "0"},
                         {31, "0"}});
        m_innerRef = insert(middle, "INNER", "1", "0", "2", "0");
        m_middleRef = insert(outer, "MIDDLE", "0", "10", "1", "90");
        m_outerRef = insert(m_db.modelSpaceId(), "OUTER", "100", "0", "1", "0");
    }

    std::wstring pickLine(KdDbObjectId target, std::vector<KdDbObjectId> via) {
        std::wstring line = L"pick " + hex(target);
        if (!via.empty())
            line += L" via";
        for (auto& id : via)
            line += L" " + hex(id);
        return line + L"\n";
    }
    static std::wstring hex(KdDbObjectId id) {
        wchar_t buf[17];
        id.handle().getIntoAsciiBuffer(buf, 17);
        return buf;
    }

    KdDbObjectId m_line, m_innerRef, m_middleRef, m_outerRef;
};

TEST_F(EdNestedPickTest, ThreeLevelsDeepGiveTheChainInnermostFirst) {
    m_script.append(pickLine(m_line, {m_outerRef, m_middleRef, m_innerRef}));
    kd_name ent{};
    double pt[3];
    double xf[4][3];
    resbuf* chain = nullptr;
    ASSERT_EQ(kdedNEntSelP(L"\nSelect: ", ent, pt, 0, xf, &chain), RTNORM);
    KdDbObjectId picked;
    ASSERT_EQ(kddbGetObjectId(picked, ent), RTNORM);
    EXPECT_EQ(picked, m_line);

    std::vector<KdDbObjectId> got;
    for (resbuf* rb = chain; rb; rb = rb->rbnext) {
        EXPECT_EQ(rb->restype, -1);
        KdDbObjectId id;
        EXPECT_EQ(kddbGetObjectId(id, rb->resval.rlname), RTNORM);
        got.push_back(id);
    }
    kdutRelRb(chain);
    EXPECT_EQ(got, (std::vector<KdDbObjectId>{m_innerRef, m_middleRef, m_outerRef}));

    // The line's start (1,0,0): scaled by 2 and moved by (1,0) in MIDDLE gives (3,0); turned
    // 90 degrees and moved by (0,10) in OUTER gives (0,13); moved by (100,0) gives (100,13).
    EXPECT_NEAR(pt[0], 100.0, 1e-9);
    EXPECT_NEAR(pt[1], 13.0, 1e-9);
    const double p[3] = {1, 0, 0};
    for (int i = 0; i < 3; ++i) {
        const double w = p[0] * xf[0][i] + p[1] * xf[1][i] + p[2] * xf[2][i] + xf[3][i];
        EXPECT_NEAR(w, pt[i], 1e-9) << i;
    }
    EXPECT_EQ(kdedGetShortVar(L"ERRNO", -1), 0);
}

TEST_F(EdNestedPickTest, PlainPickHasNoChainAndIdentityTransform) {
    m_script.append(pickLine(m_outerRef, {}));
    kd_name ent{};
    double pt[3];
    double xf[4][3];
    resbuf* chain = reinterpret_cast<resbuf*>(1);
    ASSERT_EQ(kdedNEntSelP(nullptr, ent, pt, 0, xf, &chain), RTNORM);
    EXPECT_EQ(chain, nullptr);
    EXPECT_DOUBLE_EQ(xf[0][0], 1.0);
    EXPECT_DOUBLE_EQ(xf[1][0], 0.0);
    EXPECT_DOUBLE_EQ(xf[3][0], 0.0);
    EXPECT_DOUBLE_EQ(pt[0], 100.0);
}

TEST_F(EdNestedPickTest, MissesSetErrnoSeven) {
    // Nothing, an unknown handle, a chain in the wrong order, a chain that skips a level and a
    // point (nothing lies near that point) are all misses.
    m_script.append(L"pick none\npick FFFF\n");
    m_script.append(pickLine(m_line, {m_innerRef, m_middleRef, m_outerRef}));
    m_script.append(pickLine(m_line, {m_outerRef, m_innerRef}));
    m_script.append(L"pick 5,5\n");
    for (int i = 0; i < 5; ++i) {
        kdedSetShortVar(L"ERRNO", 0);
        kd_name ent{};
        double pt[3];
        double xf[4][3];
        resbuf* chain = nullptr;
        EXPECT_EQ(kdedNEntSelP(L"", ent, pt, 0, xf, &chain), RTERROR) << i;
        EXPECT_EQ(chain, nullptr);
        EXPECT_EQ(kdedGetShortVar(L"ERRNO", -1), 7) << i;
    }
}

TEST_F(EdNestedPickTest, EnterKeywordsAndCancelAtThePickPrompt) {
    m_script.append(L"\nS\nwhatever\nnonsense\n*cancel*\n");
    kd_name ent{};
    double pt[3];
    double xf[4][3];
    EXPECT_EQ(kdedNEntSelP(L"", ent, pt, 0, xf, nullptr), RTERROR);
    EXPECT_EQ(kdedGetShortVar(L"ERRNO", -1), 52);

    kdedInitGet(RSG_OTHER, L"Settings Undo eXit _ Settings Undo eXit");
    EXPECT_EQ(kdedNEntSelP(L"", ent, pt, 0, xf, nullptr), RTKWORD);
    wchar_t word[32];
    ASSERT_EQ(kdedGetInput(word, 32), RTNORM);
    EXPECT_EQ(std::wstring(word), L"Settings");

    kdedInitGet(RSG_OTHER, L"Settings _ Settings");
    EXPECT_EQ(kdedNEntSelP(L"", ent, pt, 0, xf, nullptr), RTKWORD);
    ASSERT_EQ(kdedGetInput(word, 32), RTNORM);
    EXPECT_EQ(std::wstring(word), L"whatever");

    // Without arbitrary input, text is refused and the prompt repeats until the cancel.
    EXPECT_EQ(kdedNEntSelP(L"", ent, pt, 0, xf, nullptr), RTCAN);
    EXPECT_NE(kdedTakeCapturedOutput().find(L"Invalid point."), std::wstring::npos);
}

} // namespace

TEST_F(EdInputTest, TextAnswersKeepBlanksInsideAndRefuseWhatDoesNotFit) {
    m_script.append(L"  My drawing.dxf  \n\npick 1F\nthis is far too long\nshort\n*cancel*\n");
    wchar_t buf[16];
    ASSERT_EQ(kdedGetString(0, L"Name: ", buf, 16), RTNORM);
    EXPECT_EQ(std::wstring(buf), L"My drawing.dxf");
    ASSERT_EQ(kdedGetString(0, L"Name: ", buf, 16), RTNORM); // Enter: empty text
    EXPECT_EQ(std::wstring(buf), L"");
    // A pick and an answer of 20 characters are refused; the prompt asks again.
    ASSERT_EQ(kdedGetString(1, L"Name: ", buf, 16), RTNORM);
    EXPECT_EQ(std::wstring(buf), L"short");
    const std::wstring out = kdedTakeCapturedOutput();
    EXPECT_NE(out.find(L"Name: My drawing.dxf\n"), std::wstring::npos);
    EXPECT_NE(out.find(L"Requires a text answer."), std::wstring::npos);
    EXPECT_NE(out.find(L"The answer is too long."), std::wstring::npos);
    EXPECT_EQ(kdedGetString(0, L"Name: ", buf, 16), RTCAN);
    EXPECT_EQ(kdedGetString(0, L"Name: ", buf, 16), RTCAN); // nothing more to read
    EXPECT_EQ(kdedGetString(0, L"Name: ", nullptr, 16), RTERROR);
}

TEST_F(EdInputTest, AnswersAreEchoedOnlyWhenAskedTo) {
    m_script.append(L"first\nsecond\n");
    wchar_t buf[16];
    kdedTakeCapturedOutput();
    kdedSetEchoAnswers(false);
    kdedGetString(0, L"A: ", buf, 16);
    EXPECT_EQ(kdedTakeCapturedOutput(), L"A: ");
    kdedSetEchoAnswers(true);
    kdedGetString(0, L"B: ", buf, 16);
    EXPECT_EQ(kdedTakeCapturedOutput(), L"B: second\n");
}
