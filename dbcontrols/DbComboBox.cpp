#include "dbcontrols/DbComboBox.h"

#include "dbcontrols/FieldLink.h"
#include "dbcontrols/TextMenu.h"
#include "dbcontrols/UpperCaseValidator.h"

#include <QtCore/QScopedValueRollback>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QLineEdit>

namespace dbcontrols
{

DbComboBox::DbComboBox(QWidget *parent)
    : QComboBox(parent)
    , m_link(new FieldLink(this))
    , m_capitals(new UpperCaseValidator(this))
{
    setInsertPolicy(NoInsert);
    connect(m_link, &FieldLink::changed, this, &DbComboBox::load);
    connect(m_link, &FieldLink::failed, this, &DbComboBox::failed);
    connect(this, &QComboBox::currentIndexChanged, this, [this] {
        if (!isEditable())
            store(currentText());
    });
    // The box chooses its first item by itself; that is nobody's choice, and must not reach the record.
    connect(model(), &QAbstractItemModel::rowsAboutToBeInserted, this, [this] { m_loading = true; });
    connect(model(), &QAbstractItemModel::rowsInserted, this, &DbComboBox::load);
    setListOnly(false);
}

DbComboBox::~DbComboBox() = default;

void DbComboBox::setDataSource(DataSource *source)
{
    m_link->setDataSource(source);
}

void DbComboBox::setField(const QString &name)
{
    m_link->setField(name);
}

QString DbComboBox::field() const
{
    return m_link->field();
}

void DbComboBox::setListOnly(bool listOnly)
{
    setEditable(!listOnly);
    if (!listOnly)
        prepareEditor();
    load();
}

void DbComboBox::setUpperCase(bool upperCase)
{
    m_upperCase = upperCase;
    load();
}

void DbComboBox::prepareEditor()
{
    useTextMenu(*lineEdit());
    // Not textEdited: what a completion adds, and what is chosen, is to be stored as well.
    connect(lineEdit(), &QLineEdit::textChanged, this, &DbComboBox::store);
}

void DbComboBox::load()
{
    m_loading = true;
    if (isEditable())
        loadEditor();
    else
        setCurrentIndex(findText(m_link->text(), Qt::MatchFixedString | Qt::MatchCaseSensitive));
    m_loading = false;
}

void DbComboBox::loadEditor()
{
    const QString text = m_link->text();
    lineEdit()->setMaxLength(m_link->width() > 0 ? m_link->width() : 32767);
    // The record's own text is not to be rewritten only because it is looked at.
    lineEdit()->setValidator(nullptr);
    if (currentText() != text) {
        setCurrentIndex(findText(text, Qt::MatchFixedString)); // where the arrow keys go on from
        setEditText(text);
    }
    if (m_upperCase)
        lineEdit()->setValidator(m_capitals);
}

void DbComboBox::store(const QString &text)
{
    if (m_loading || text == m_link->text())
        return;
    const QString kept = m_link->fitted(text);
    if (isEditable() && kept != text) {
        const auto cursor = static_cast<int>(m_link->fitted(text.left(lineEdit()->cursorPosition())).size());
        const QScopedValueRollback<bool> loading(m_loading, true);
        setEditText(kept);
        lineEdit()->setCursorPosition(cursor);
    }
    m_link->store(kept);
}

void DbComboBox::wheelEvent(QWheelEvent *event)
{
    event->ignore(); // scrolling past it must not put another name into the record
}

} // namespace dbcontrols
