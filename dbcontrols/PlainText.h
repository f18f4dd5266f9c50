#pragma once

#include "dbcontrols/Export.h"

#include <QtCore/QString>

class QLabel;
class QMessageBox;
class QWidget;

namespace dbcontrols
{

// The toolkit takes a text that begins like a page of the web for one, and loads what it names. No text of an
// office is a page: labels, tips and boxes get theirs through these.

/// A label that shows its text, and every later one, letter by letter. Owned by its parent.
[[nodiscard]] DBCONTROLS_EXPORT QLabel *plainLabel(const QString &text, QWidget *parent);
/// What to set as a tool tip, or to answer for one, so that it shows `text` letter by letter.
[[nodiscard]] DBCONTROLS_EXPORT QString plainTip(const QString &text);
/// Both texts of a message box, letter by letter.
/// @param explanation  below the text, smaller; may be empty.
DBCONTROLS_EXPORT void setPlainTexts(QMessageBox &box, const QString &text, const QString &explanation);

} // namespace dbcontrols
