#include "till/window/dialogs/question.h"

#include "host/utils/printable.h"
#include "host/utils/tr.h"

using namespace Qt::StringLiterals;

namespace till::window {

Question::Question(const QString& title, QWidget* parent)
    : QDialog(parent)
    , m_column(new QVBoxLayout(this))
    , m_title(label(title, u"title"_s))
    , m_scanRefusal(tr::shown(u"windowScanInDialog"_s, u"Код не принят: сначала ответьте на вопрос"_s))
{
    setWindowTitle(utils::printable(title));
    m_column->setContentsMargins(24, 20, 24, 20);
    m_column->setSpacing(12);
    m_title->setWordWrap(true);
    m_column->addWidget(m_title);
}

// In the title's place: the question keeps its size under a finger that is on its way to a button.
void Question::refuse(const QString& text)
{
    m_title->setText(text);
    restyle(*m_title, "notice", u"bad"_s);
}

} // namespace till::window
