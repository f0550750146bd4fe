#include "host/core/dialog.h"
#include "host/utils/basicexception.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using core::BasicDialog;
using testing::Field;
using testing::Return;

namespace {

class FrontendMock : public DialogFrontend
{
public:
    MOCK_METHOD(int, chooseFromList, (const ChoiceRequest& request), (override));
    MOCK_METHOD(BasicDialog::Result, inputText, (const TextInputRequest& request), (override));
};

const TextInputRequest question(tr::Tr(u"title"_s, u"Телефон"_s), tr::Tr(u"message"_s, u"Введите номер"_s));

class DialogService : public testing::Test
{
protected:
    QSharedPointer<Dialog> m_dialog = MockFactory<Dialog>::create();
};

TEST_F(DialogService, ThrowsWithoutAFrontEnd)
{
    EXPECT_THROW((void)m_dialog->chooseFromList({}), BasicException);
    EXPECT_THROW((void)m_dialog->inputText(question), BasicException);
}

TEST_F(DialogService, AsksTheFrontEndForAChoice)
{
    FrontendMock frontend;
    const auto registered = Dialog::registerFrontend(frontend);
    ChoiceRequest request;
    request.title = tr::Tr(u"title"_s, u"Карты"_s);
    EXPECT_CALL(frontend, chooseFromList(Field(&ChoiceRequest::title, request.title))).WillOnce(Return(3));
    EXPECT_EQ(m_dialog->chooseFromList(request), 3);
}

TEST_F(DialogService, AsksTheFrontEndForAText)
{
    FrontendMock frontend;
    const auto registered = Dialog::registerFrontend(frontend);
    EXPECT_CALL(frontend, inputText(Field(&TextInputRequest::title, question.title)))
        .WillOnce(Return(BasicDialog::Result::entered(u"79001234567"_s)));
    EXPECT_EQ(m_dialog->inputText(question).getData(), u"79001234567"_s);
}

TEST_F(DialogService, ThrowsAgainOnceTheFrontEndIsTakenAway)
{
    FrontendMock frontend;
    EXPECT_CALL(frontend, chooseFromList(testing::_)).Times(0);
    auto registered = Dialog::registerFrontend(frontend);
    registered = {};
    EXPECT_THROW((void)m_dialog->chooseFromList({}), BasicException);
}

TEST_F(DialogService, RefusesASecondFrontEndAndKeepsTheFirst)
{
    FrontendMock first;
    testing::StrictMock<FrontendMock> second;
    const auto registered = Dialog::registerFrontend(first);
    try {
        const auto another = Dialog::registerFrontend(second);
        FAIL() << "the first would be pushed out";
    } catch (const std::logic_error& refusal) {
        EXPECT_THAT(refusal.what(), testing::HasSubstr("front end for dialogs"));
    }
    EXPECT_CALL(first, chooseFromList).WillOnce(Return(1));
    EXPECT_EQ(m_dialog->chooseFromList({}), 1);
}

TEST(DialogResult, IsWhatWasEnteredOrCancelled)
{
    const BasicDialog::Result entered = BasicDialog::Result::entered(u" 7 "_s);
    EXPECT_FALSE(entered.canceled());
    EXPECT_EQ(entered.getData(), u" 7 "_s);
    EXPECT_TRUE(BasicDialog::Result::cancelled().canceled());
    EXPECT_TRUE(BasicDialog::Result::cancelled().getData().isEmpty());
    EXPECT_FALSE(BasicDialog::Result::entered({}).canceled());
}

TEST(ChoiceRequest, IsAnEmptyListThatMayBeClosed)
{
    const ChoiceRequest request;
    EXPECT_TRUE(request.title.isEmpty());
    EXPECT_TRUE(request.message.isEmpty());
    EXPECT_TRUE(request.comment.isEmpty());
    EXPECT_TRUE(request.items.isEmpty());
    EXPECT_TRUE(request.extraItems.isEmpty());
    EXPECT_FALSE(request.multipleChoice);
    EXPECT_TRUE(request.closable);
}

TEST(TextInputRequest, HasTheGivenTextsAndTheHostsCaptions)
{
    EXPECT_EQ(question.title, tr::Tr(u"title"_s, u"Телефон"_s));
    EXPECT_EQ(question.message, tr::Tr(u"message"_s, u"Введите номер"_s));
    EXPECT_EQ(question.scanErrorText, tr::Tr(u"inputTextFormScanError"_s,
                                             u"Ошибка разбора введенных данных, повторите сканирование"_s));
    EXPECT_EQ(question.okCaption, tr::Tr(u"inputTextFormOkBtn"_s, u"\u041E\u041A"_s)); // Cyrillic letters
    EXPECT_EQ(question.cancelCaption, tr::Tr(u"inputTextFormCancelBtn"_s, u"Отмена"_s));
}

TEST(TextInputRequest, HasTheHostsOptions)
{
    EXPECT_EQ(question.inputKind, 0);
    EXPECT_EQ(static_cast<int>(TextInputRequest::Digits), 5);
    EXPECT_TRUE(question.keyboardAllowed);
    EXPECT_TRUE(question.scannerAllowed);
    EXPECT_TRUE(question.cancelAllowed);
    EXPECT_TRUE(question.emptyAllowed);
    EXPECT_FALSE(question.hidden);
    EXPECT_FALSE(question.trimmed);
    EXPECT_FALSE(question.multiline);
    EXPECT_FALSE(question.uppercased);
    EXPECT_TRUE(question.formName.isEmpty());
}

} // namespace
