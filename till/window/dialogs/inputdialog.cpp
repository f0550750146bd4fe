#include "till/window/dialogs/inputdialog.h"

#include "till/window/widgets.h"

#include <QGridLayout>
#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

constexpr int longestAnswer = 120;

} // namespace

InputDialog::InputDialog(const TextInputRequest& request, QWidget* parent, const QString& start)
    : Question(request.title.ru(), parent)
    , m_request(request)
    , m_field(new QLineEdit(start))
    , m_ok(button(request.okCaption.ru(), u"Enter"_s, u"primary"_s))
{
    setObjectName(request.formName);
    if (!request.scanErrorText.isEmpty())
        setScanRefusal(request.scanErrorText.ru());
    auto* words = label(request.message.ru());
    words->setWordWrap(true);
    words->setBuddy(m_field);
    column().addWidget(words);
    m_field->setAccessibleName(request.message.ru());
    m_field->setEchoMode(request.hidden ? QLineEdit::Password : QLineEdit::Normal);
    m_field->setReadOnly(!request.keyboardAllowed && !request.scannerAllowed);
    m_field->setMinimumWidth(360);
    limitLength(*m_field, longestAnswer, [this](const QString& text) {
        soundRefusal();
        refuse(text);
    });
    m_field->selectAll();
    column().addWidget(m_field);
    if (request.inputKind == TextInputRequest::Digits && request.keyboardAllowed)
        column().addWidget(digitPad());
    auto* buttons = new QHBoxLayout;
    if (request.cancelAllowed) {
        auto* cancel = button(request.cancelCaption.ru(), u"Esc"_s, u"second"_s);
        connect(cancel, &QPushButton::clicked, this, &InputDialog::reject);
        buttons->addWidget(cancel);
    }
    m_ok->setDefault(true);
    buttons->addWidget(m_ok);
    column().addLayout(buttons);
    connect(m_ok, &QPushButton::clicked, this, &InputDialog::accept);
    const auto judge = [this] { m_ok->setEnabled(m_request.emptyAllowed || !answer().isEmpty()); };
    connect(m_field, &QLineEdit::textChanged, this, judge);
    judge();
    m_field->setFocus();
}

QWidget* InputDialog::digitPad()
{
    auto* pad = new QWidget;
    auto* grid = new QGridLayout(pad);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(8);
    const QStringList keys{u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s, u"6"_s,
                           u"7"_s, u"8"_s, u"9"_s, u","_s, u"0"_s, u"⌫"_s};
    const bool isAmount = m_request.formName == u"quantity"_s || m_request.formName == u"discount"_s;
    for (int i = 0; i < keys.size(); ++i) {
        if (keys[i] == u"," && !isAmount)
            continue; // a code has none
        auto* key = button(keys[i], {}, u"digit"_s);
        key->setFocusPolicy(Qt::NoFocus); // the field keeps it, and Tab goes on to the answers
        if (keys[i] == u"⌫")
            key->setAccessibleName(u"Стереть"_s);
        connect(key, &QPushButton::clicked, this, [this, text = keys[i]] {
            if (text == u"⌫")
                m_field->backspace();
            else
                m_field->insert(text);
        });
        grid->addWidget(key, i / 3, i % 3);
    }
    return pad;
}

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
