// Command groups: adding, refusing duplicates, removing, and the lookup of typed names.
#include "tv/KdEdCommandStack.h"

#include <gtest/gtest.h>

namespace {

void handlerA() {}
void handlerB() {}

class CommandStack : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(
            stack.addCommand(L"LAYERAPPS", L"LAYER", L"CALQUE", KDRX_CMD_TRANSPARENT, handlerA),
            Kdad::eOk);
        ASSERT_EQ(stack.addCommand(L"LAYERAPPS", L"LAYFRZ", L"GELCALQUE", KDRX_CMD_MODAL, handlerB),
                  Kdad::eOk);
    }
    std::wstring found(const wchar_t* input, bool inside = false) const {
        const KdEdCommand* cmd = stack.lookupCmd(input, inside);
        return cmd ? cmd->globalName : L"<none>";
    }
    KdEdCommandStack stack;
};

TEST_F(CommandStack, GlobalAndLocalForms) {
    EXPECT_EQ(found(L"CALQUE"), L"LAYER");
    EXPECT_EQ(found(L"calque"), L"LAYER");
    EXPECT_EQ(found(L"LAYER"), L"LAYER"); // no such local name: the global one
    EXPECT_EQ(found(L"_layfrz"), L"LAYFRZ");
    EXPECT_EQ(found(L"_GELCALQUE"), L"<none>"); // "_" asks for global names only
    EXPECT_EQ(found(L"_"), L"<none>");
    EXPECT_EQ(found(L""), L"<none>");
    EXPECT_EQ(stack.lookupCmd(nullptr), nullptr);
    EXPECT_EQ(stack.lookupCmd(L"CALQUE")->handler, &handlerA);

    // Local names are searched before global ones.
    ASSERT_EQ(stack.addCommand(L"OTHER", L"TWO", L"DEUX", 0, handlerB), Kdad::eOk);
    ASSERT_EQ(stack.addCommand(L"THIRD", L"ONE", L"TWO", 0, handlerA), Kdad::eOk);
    EXPECT_EQ(found(L"TWO"), L"ONE");
    EXPECT_EQ(found(L"_TWO"), L"TWO");
    EXPECT_EQ(found(L"DEUX"), L"TWO");
}

TEST_F(CommandStack, TransparentCallsFindOnlyTransparentCommands) {
    EXPECT_EQ(found(L"'CALQUE"), L"LAYER");
    EXPECT_EQ(found(L"'_LAYER"), L"LAYER");
    EXPECT_EQ(found(L"_'LAYER"), L"LAYER");
    EXPECT_EQ(found(L"'LAYFRZ"), L"<none>");
    EXPECT_EQ(found(L"'_GELCALQUE"), L"<none>");
    EXPECT_EQ(found(L"''LAYER"), L"<none>");
    EXPECT_EQ(found(L"__LAYER"), L"<none>");
    // Inside another command every call is transparent.
    EXPECT_EQ(found(L"LAYFRZ", true), L"<none>");
    EXPECT_EQ(found(L"GELCALQUE", true), L"<none>");
    EXPECT_EQ(found(L"'CALQUE", true), L"LAYER");
    EXPECT_EQ(found(L"LAYER", true), L"LAYER");
}

TEST_F(CommandStack, DuplicatesAndBadNamesAreRefused) {
    EXPECT_EQ(stack.addCommand(L"LAYERAPPS", L"layer", L"X1", 0, handlerB), Kdad::eDuplicateKey);
    EXPECT_EQ(stack.addCommand(L"layerapps", L"NEW", L"calque", 0, handlerB), Kdad::eDuplicateKey);
    // A global name may not take another command's local name in the same group either.
    EXPECT_EQ(stack.addCommand(L"LAYERAPPS", L"GELCALQUE", L"", 0, handlerB), Kdad::eDuplicateKey);
    EXPECT_EQ(stack.addCommand(L"G", L"", L"X", 0, handlerA), Kdad::eInvalidInput);
    EXPECT_EQ(stack.addCommand(L"", L"X", L"X", 0, handlerA), Kdad::eInvalidInput);
    EXPECT_EQ(stack.addCommand(L"G", L"_X", L"X", 0, handlerA), Kdad::eInvalidInput);
    EXPECT_EQ(stack.addCommand(L"G", L"X", L"'X", 0, handlerA), Kdad::eInvalidInput);
    EXPECT_EQ(stack.addCommand(L"G", L"A B", L"X", 0, handlerA), Kdad::eInvalidInput);
    EXPECT_EQ(stack.addCommand(L"G", L"X", L"X", 0, nullptr), Kdad::eInvalidInput);
    EXPECT_EQ(stack.groups().size(), 1u); // refused commands create no group
    EXPECT_EQ(stack.commands(L"LAYERAPPS").size(), 2u);

    // The same name in another group is allowed; the later group wins the lookup.
    ASSERT_EQ(stack.addCommand(L"OVERRIDE", L"LAYER", nullptr, 0, handlerB), Kdad::eOk);
    EXPECT_EQ(stack.lookupGlobalCmd(L"LAYER")->group, L"OVERRIDE");
    EXPECT_EQ(stack.lookupLocalCmd(L"LAYER")->group, L"OVERRIDE"); // empty local: the global
    EXPECT_EQ(found(L"'_LAYER"), L"<none>");                       // the override is modal
}

TEST_F(CommandStack, GroupsKeepTheirOrderAndGoAsAWhole) {
    ASSERT_EQ(stack.addCommand(L"B", L"BCMD", nullptr, 0, handlerA), Kdad::eOk);
    ASSERT_EQ(stack.addCommand(L"A", L"ACMD", nullptr, 0, handlerA), Kdad::eOk);
    ASSERT_EQ(stack.addCommand(L"B", L"BCMD2", nullptr, 0, handlerA), Kdad::eOk);
    EXPECT_EQ(stack.groups(), (std::vector<std::wstring>{L"LAYERAPPS", L"B", L"A"}));
    auto b = stack.commands(L"b");
    ASSERT_EQ(b.size(), 2u);
    EXPECT_EQ(b[0]->globalName, L"BCMD");
    EXPECT_EQ(b[1]->globalName, L"BCMD2");

    EXPECT_EQ(stack.removeGroup(L"layerapps"), Kdad::eOk);
    EXPECT_EQ(stack.removeGroup(L"LAYERAPPS"), Kdad::eKeyNotFound);
    EXPECT_EQ(found(L"CALQUE"), L"<none>");
    EXPECT_EQ(found(L"_LAYFRZ"), L"<none>");
    EXPECT_EQ(found(L"ACMD"), L"ACMD");
    EXPECT_TRUE(stack.commands(L"LAYERAPPS").empty());

    // Re-adding a removed group puts it last.
    ASSERT_EQ(stack.addCommand(L"LAYERAPPS", L"LAYER", L"CALQUE", 1, handlerA), Kdad::eOk);
    EXPECT_EQ(stack.groups().back(), L"LAYERAPPS");

    EXPECT_EQ(stack.removeCmd(L"B", L"bcmd"), Kdad::eOk);
    EXPECT_EQ(stack.removeCmd(L"B", L"BCMD"), Kdad::eKeyNotFound);
    EXPECT_EQ(stack.removeCmd(L"NOGROUP", L"X"), Kdad::eKeyNotFound);
    EXPECT_EQ(found(L"BCMD2"), L"BCMD2");
}

} // namespace
