// The Host's message box as a window: the answer is the button pressed, whichever way it was
// pressed, and the box is the one the Host's callers expect (caption, buttons, default).
#include "QtUiFixture.h"

#include "tv/KdUtf8.h"
#include "tv/qt/KdQtMessageBox.h"

#include <QAbstractButton>
#include <QLabel>
#include <QMessageBox>

namespace {

using tvtest::Driver;

struct Press {
    int buttons;
    const char* button; ///< object name of the button clicked
    int answer;
};

class MessageBox : public tvtest::QtUiTest, public ::testing::WithParamInterface<Press> {};

TEST_P(MessageBox, ReturnsTheButtonClicked) {
    const Press press = GetParam();
    QString caption;
    QStringList names;
    Driver::whenShown([&](QDialog* box) {
        caption = box->windowTitle();
        for (QAbstractButton* b : box->findChildren<QAbstractButton*>())
            names.append(b->objectName());
        Driver::click(Driver::find(box, QString::fromLatin1(press.button)));
    });
    EXPECT_EQ(kdedMessageBox(L"Replace the layer state?", press.buttons, MB_ICONQUESTION),
              press.answer);
    EXPECT_EQ(caption, QStringLiteral("TEVRA"));
    names.sort();
    QStringList expected;
    for (const auto& [answer, name] : {std::pair{IDOK, "okButton"},
                                       {IDYES, "yesButton"},
                                       {IDNO, "noButton"},
                                       {IDCANCEL, "cancelButton"}}) {
        if (kdUiAnswerAllowed(press.buttons, answer))
            expected.append(QString::fromLatin1(name));
    }
    expected.sort();
    EXPECT_EQ(names, expected);
}

INSTANTIATE_TEST_SUITE_P(EveryButtonOfEverySet, MessageBox,
                         ::testing::Values(Press{MB_OK, "okButton", IDOK},
                                           Press{MB_OKCANCEL, "okButton", IDOK},
                                           Press{MB_OKCANCEL, "cancelButton", IDCANCEL},
                                           Press{MB_YESNO, "yesButton", IDYES},
                                           Press{MB_YESNO, "noButton", IDNO},
                                           Press{MB_YESNOCANCEL, "yesButton", IDYES},
                                           Press{MB_YESNOCANCEL, "noButton", IDNO},
                                           Press{MB_YESNOCANCEL, "cancelButton", IDCANCEL}));

using MessageBoxKeys = tvtest::QtUiTest;

TEST_F(MessageBoxKeys, EnterTakesTheFirstButtonAndEscapeTheCancelLikeOne) {
    for (int buttons : {MB_OK, MB_OKCANCEL, MB_YESNO, MB_YESNOCANCEL}) {
        Driver::whenShown([](QDialog* box) { Driver::key(box, Qt::Key_Return); });
        EXPECT_EQ(kdedMessageBox(L"Enter", buttons),
                  buttons == MB_OK || buttons == MB_OKCANCEL ? IDOK : IDYES)
            << buttons;
        Driver::whenShown([](QDialog* box) { Driver::key(box, Qt::Key_Escape); });
        EXPECT_EQ(kdedMessageBox(L"Escape", buttons), kdUiCancelAnswer(buttons)) << buttons;
    }
}

TEST_F(MessageBoxKeys, AButtonsLetterAnswersWithoutAlt) {
    Driver::whenShown([](QDialog* box) { Driver::key(box, Qt::Key_N); });
    EXPECT_EQ(kdedMessageBox(L"Letters", MB_YESNOCANCEL), IDNO);
}

TEST_F(MessageBoxKeys, ShowsTheTextAsWrittenWithTheCallersCaptionAndAnIcon) {
    QString text;
    QString caption;
    bool hasIcon = false;
    Driver::whenShown([&](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        text = box->text();
        caption = box->windowTitle();
        hasIcon = !box->iconPixmap().isNull();
        box->accept();
    });
    // Markup is not interpreted: a layer may well be called "<b>".
    kdedMessageBox(L"Layer <b> is locked.", MB_OK, MB_ICONWARNING, L"Layer");
    EXPECT_EQ(text, QStringLiteral("Layer <b> is locked."));
    EXPECT_EQ(caption, QStringLiteral("Layer"));
    EXPECT_TRUE(hasIcon);
}

TEST_F(MessageBoxKeys, ClosingTheWindowGivesTheCancelLikeAnswer) {
    Driver::whenShown([](QDialog* box) { box->close(); });
    EXPECT_EQ(ui.messageBox(KdString(L"Close"), KdString(L"TEVRA"), MB_YESNO, 0), IDNO);
}

} // namespace
