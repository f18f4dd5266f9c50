#include "dbcontrols/DbEdit.h"

#include "dbcontrols/FieldLink.h"
#include "dbcontrols/TextMenu.h"

namespace dbcontrols
{

DbEdit::DbEdit(QWidget *parent)
    : QLineEdit(parent)
    , m_link(new FieldLink(this))
{
    useTextMenu(*this);
    connect(m_link, &FieldLink::changed, this, &DbEdit::load);
    connect(m_link, &FieldLink::failed, this, &DbEdit::failed);
    connect(this, &QLineEdit::textEdited, this, &DbEdit::typed);
    connect(this, &QLineEdit::editingFinished, this, &DbEdit::left);
}

DbEdit::~DbEdit() = default;

void DbEdit::setDataSource(DataSource *source)
{
    m_link->setDataSource(source);
}

void DbEdit::setField(const QString &name)
{
    m_link->setField(name);
}

QString DbEdit::field() const
{
    return m_link->field();
}

void DbEdit::load()
{
    m_pending = false;
    if (text() != m_link->text())
        setText(m_link->text());
    emit shown();
}

void DbEdit::typed()
{
    m_pending = true;
    const QString kept = m_link->fitted(text());
    if (kept != text()) {
        const auto cursor = static_cast<int>(m_link->fitted(text().left(cursorPosition())).size());
        setText(kept);
        setCursorPosition(cursor);
    }
    if (m_link->isText())
        left();
}

void DbEdit::left()
{
    if (m_pending)
        m_link->store(text());
    m_pending = false;
}

bool DbEdit::putText(const QString &text)
{
    setText(m_link->fitted(text));
    return m_link->store(this->text());
}

} // namespace dbcontrols
