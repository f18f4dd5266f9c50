#include "dbcontrols/FieldLink.h"

#include "dbcontrols/Texts.h"
#include "dbcontrols/Watching.h"

#include <QtCore/QScopedValueRollback>

#include <algorithm>

namespace dbcontrols
{

using dataset::DataSet;
using dataset::FieldKind;

QString keptBy(const DataSet &set, const QString &text)
{
    QString kept = text.normalized(QString::NormalizationForm_C);
    // A line end or tabulator, which no field has, parts words; without anything they would run together.
    std::replace_if(
        kept.begin(), kept.end(), [](QChar one) { return one == u'\n' || one == u'\r' || one == u'\t'; },
        QChar(u' '));
    kept.erase(std::remove_if(kept.begin(), kept.end(), [&](QChar one) { return !set.canKeep(one); }),
               kept.end());
    return kept;
}

FieldLink::FieldLink(QObject *parent)
    : QObject(parent)
{
}

FieldLink::~FieldLink() = default;

void FieldLink::setDataSource(DataSource *source)
{
    const auto follow = [this](DataSource &next) {
        connect(&next, &DataSource::sourceChanged, this, &FieldLink::reload);
        connect(&next, &DataSource::currentChanged, this, &FieldLink::reload);
        connect(&next, &DataSource::stateChanged, this, &FieldLink::reload);
        connect(&next, &DataSource::fieldChanged, this, &FieldLink::fieldChanged);
        connect(&next, &DataSource::rowsReset, this, &FieldLink::rowsChanged);
        connect(&next, &DataSource::rowsChanged, this, &FieldLink::rowsChanged);
        connect(&next, &QObject::destroyed, this, &FieldLink::reload);
    };
    if (watchInstead(m_source, source, *this, follow))
        reload();
}

void FieldLink::setField(const QString &name)
{
    m_field = name;
    reload();
}

DataSet *FieldLink::dataSet() const
{
    DataSet *const set = m_source ? m_source->activeDataSet() : nullptr;
    return set && set->fieldIndex(m_field) >= 0 ? set : nullptr;
}

int FieldLink::width() const
{
    const DataSet *const set = dataSet();
    return set ? set->fieldInfo(set->fieldIndex(m_field)).width : 0;
}

bool FieldLink::isText() const
{
    const DataSet *const set = dataSet();
    return set && set->fieldInfo(set->fieldIndex(m_field)).kind == FieldKind::text;
}

QString FieldLink::fitted(const QString &text) const
{
    const DataSet *const set = dataSet();
    if (!set || !isText())
        return text;
    const QString kept = keptBy(*set, text);
    return width() > 0 ? kept.left(width()) : kept;
}

void FieldLink::reload()
{
    if (m_storing)
        return;
    DataSet *const set = dataSet();
    m_shown = set ? set->field(m_field).asText() : QString();
    emit changed();
}

void FieldLink::rowsChanged()
{
    // While the record is being edited its fields speak for themselves, and a control that is being typed
    // into must not be filled because its neighbour has changed.
    if (!m_source || !m_source->isEditing())
        reload();
}

void FieldLink::fieldChanged(int field)
{
    const DataSet *const set = dataSet();
    if (field < 0 || !set || set->fieldIndex(m_field) == field)
        reload();
}

bool FieldLink::store(const QString &text)
{
    DataSet *const set = dataSet();
    if (!set)
        return false;
    QString error;
    try {
        const QScopedValueRollback<bool> storing(m_storing, true);
        m_source->requireEditing();
        if (set->field(m_field).asText() != m_shown)
            throw dataset::EDatabaseError(changedElsewhere());
        set->field(m_field).setText(fitted(text));
    } catch (const dataset::EDatabaseError &failure) {
        error = dataset::plainText(failure);
    } catch (const dataset::EConvertError &failure) {
        error = failure.text();
    }
    if (!error.isEmpty()) {
        reload();
        emit failed(error);
        return false;
    }
    m_shown = set->field(m_field).asText();
    return true;
}

} // namespace dbcontrols
