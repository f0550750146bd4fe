#include "till/window/dialogs/choicedialog.h"

#include "host/utils/printable.h"
#include "host/utils/tr.h"
#include "till/window/widgets.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

ChoiceDialog::ChoiceDialog(const ChoiceRequest& request, QWidget* parent)
    : Question(request.title.shown(), parent)
    , m_closable(request.closable)
    , m_list(new QListWidget)
{
    setObjectName(u"choice"_s);
    for (const tr::Tr* words : {&request.message, &request.comment}) {
        if (words->isEmpty())
            continue;
        auto* lines = label(words->shown());
        lines->setWordWrap(true);
        column().addWidget(lines);
    }
    m_list->setAccessibleName(request.title.shown());
    for (const tr::Tr& item : request.items)
        m_list->addItem(utils::printableLines(item.shown()));
    m_list->setCurrentRow(0);
    m_list->setMinimumSize(420, 220);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    column().addWidget(m_list);
    auto* buttons = new QHBoxLayout;
    if (m_closable) {
        auto* close = button(tr::shown(u"windowChooseNone"_s, u"Не выбирать"_s), u"Esc"_s, u"second"_s);
        connect(close, &QPushButton::clicked, this, &ChoiceDialog::reject);
        buttons->addWidget(close);
    }
    auto* choose = button(tr::shown(u"windowChoose"_s, u"Выбрать"_s), u"Enter"_s, u"primary"_s);
    choose->setDefault(true);
    choose->setEnabled(m_list->count() > 0);
    connect(choose, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_list, &QListWidget::itemActivated, this, &QDialog::accept);
    buttons->addWidget(choose);
    column().addLayout(buttons);
    m_list->setFocus();
}

int ChoiceDialog::ask() { return exec() == QDialog::Accepted ? m_list->currentRow() : -1; }

void ChoiceDialog::reject()
{
    if (m_closable)
        QDialog::reject();
}

} // namespace till::window
