#pragma once

#include "dbcontrols/Export.h"

#include <QtGui/QColor>
#include <QtWidgets/QAbstractButton>

#include <optional>

class QPalette;

namespace dbcontrols
{

/// A colour on this screen, from the number that tables and settings keep: 0x00BBGGRR, or with the top bit
/// set a colour of the desktop by number, for which the palette has the nearest.
[[nodiscard]] DBCONTROLS_EXPORT QColor screenColor(quint32 number, const QPalette &palette);

/// The usual text colour where it can be read on a background, which may be any colour; else black or white.
[[nodiscard]] DBCONTROLS_EXPORT QColor readableOn(const QColor &background, const QColor &usual);

/// A panel filled with a colour. A click on it, or Space, is the wish for another one.
class DBCONTROLS_EXPORT ColorPanel : public QAbstractButton
{
    Q_OBJECT
public:
    explicit ColorPanel(QWidget *parent);
    ~ColorPanel() override;

    /// The number as it was given: a colour of the desktop stays one.
    [[nodiscard]] quint32 color() const { return m_color; }
    void setColor(quint32 color);
    /// The colour on this screen.
    [[nodiscard]] QColor visibleColor() const { return screenColor(m_color, palette()); }
    /// Asks for a colour, beginning with the panel's own; the panel stays as it is.
    /// @return nothing when the user cancels; the panel's own number when it is confirmed as it was.
    [[nodiscard]] std::optional<quint32> askColor(const QString &title);
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    quint32 m_color = 0;
};

} // namespace dbcontrols
