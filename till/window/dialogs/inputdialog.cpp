#include "till/window/dialogs/inputdialog.h"

#include "till/window/keypad.h"
#include "till/window/widgets.h"

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

constexpr int longestAnswer = 120;

} // namespace

InputDialog::InputDialog(const TextInputRequest& request, QWidget* parent, const QString& start)
    : Question(request.title.shown(), parent)
    , m_request(request)
    , m_words(label(request.message.shown()))
    , m_field(new QLineEdit(start))
    , m_answers(new QHBoxLayout)
    , m_ok(button(request.okCaption.shown(), u"Enter"_s, u"primary"_s))
{
    setObjectName(request.formName);
    if (!request.scanErrorText.isEmpty())
        setScanRefusal(request.scanErrorText.shown());
    m_words->setWordWrap(true);
    m_words->setBuddy(m_field);
    column().addWidget(m_words);
    m_field->setAccessibleName(request.message.shown());
    m_field->setEchoMode(request.hidden ? QLineEdit::Password : QLineEdit::Normal);
    m_field->setReadOnly(!request.keyboardAllowed && !request.scannerAllowed);
    m_field->setMinimumWidth(360);
    limitLength(*m_field, longestAnswer, [this](const QString& text) {
        soundRefusal();
        refuse(text);
    });
    m_field->selectAll();
    column().addWidget(m_field);
    const bool isAmount = request.formName == u"quantity"_s || request.formName == u"discount"_s;
    if (request.inputKind == TextInputRequest::Digits && request.keyboardAllowed)
        column().addWidget(new Keypad(*m_field, isAmount ? QChar(u',') : QChar())); // a code has no comma
    if (request.cancelAllowed) {
        auto* cancel = button(request.cancelCaption.shown(), u"Esc"_s, u"second"_s);
        connect(cancel, &QPushButton::clicked, this, &InputDialog::reject);
        m_answers->addWidget(cancel);
    }
    m_ok->setDefault(true);
    m_answers->addWidget(m_ok);
    column().addLayout(m_answers);
    connect(m_ok, &QPushButton::clicked, this, &InputDialog::accept);
    const auto judge = [this] { m_ok->setEnabled(m_request.emptyAllowed || !answer().isEmpty()); };
    connect(m_field, &QLineEdit::textChanged, this, judge);
    judge();
    m_field->setFocus();
}

void InputDialog::addWords(const QString& text) { m_words->setText(text + u'\n' + m_words->text()); }

void InputDialog::addAnswer(QPushButton* answer) { m_answers->insertWidget(m_answers->count() - 1, answer); }

QString InputDialog::answer() const
{
    QString text = m_field->text();
    if (m_request.trimmed)
        text = text.trimmed();
    return m_request.uppercased ? text.toUpper() : text;
}

core::BasicDialog::Result InputDialog::ask()
{
    return exec() == QDialog::Accepted ? core::BasicDialog::Result::entered(answer())
                                       : core::BasicDialog::Result::cancelled();
}

void InputDialog::accept()
{
    if (m_ok->isEnabled())
        QDialog::accept();
}

void InputDialog::reject()
{
    if (m_request.cancelAllowed)
        QDialog::reject();
}

} // namespace till::window
