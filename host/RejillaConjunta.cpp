#include "host/RejillaConjunta.h"

#include "dbcontrols/ColorPanel.h"
#include "dbcontrols/LaterCall.h"
#include "dbcontrols/TextMenu.h"
#include "host/ModeloConjunto.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QInputMethodEvent>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QLineEdit>

namespace
{

constexpr int Margen = 3;
constexpr int GrosorDelFoco = 2;
constexpr int GrosorDelCanto = 2;

bool EmpiezaNotario(int columna)
{
    return columna % CamposPorNotario == 0;
}

} // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Titles

TCabeceraConjunta::TCabeceraConjunta(const TModeloConjunto &modelo, QWidget *padre)
    : QHeaderView(Qt::Horizontal, padre)
    , m_modelo(modelo)
{
    setSectionsClickable(true);
    setHighlightSections(false);
    setDefaultAlignment(Qt::AlignCenter);
}

void TCabeceraConjunta::PonNotarioActual(int notario)
{
    if (m_notario == notario)
        return;
    m_notario = notario;
    viewport()->update();
}

QSize TCabeceraConjunta::sizeHint() const
{
    const QSize una = QHeaderView::sizeHint();
    return {una.width(), una.height() * 2};
}

void TCabeceraConjunta::paintSection(QPainter *pintor, const QRect &lugar, int columna) const
{
    const int mitad = lugar.height() / 2;
    pintor->save();
    QHeaderView::paintSection(pintor, lugar.adjusted(0, mitad, 0, 0), columna);
    pintor->restore();

    // The name belongs to three sections; each paints its part of it.
    const int primera = columna - columna % CamposPorNotario;
    const int notario = TModeloConjunto::NotarioDe(columna);
    int ancho = 0;
    for (int i = primera; i < primera + CamposPorNotario; ++i)
        ancho += sectionSize(i);
    const QRect grupo(sectionViewportPosition(primera), lugar.top(), ancho, mitad);
    const bool actual = notario == m_notario;
    pintor->save();
    pintor->setClipRect(QRect(lugar.left(), lugar.top(), lugar.width(), mitad));
    pintor->fillRect(grupo, palette().color(actual ? QPalette::Highlight : QPalette::Button));
    pintor->setPen(palette().color(QPalette::Mid));
    pintor->drawLine(grupo.topRight(), grupo.bottomRight());
    QFont letra = font();
    letra.setBold(true);
    pintor->setFont(letra);
    pintor->setPen(palette().color(actual ? QPalette::HighlightedText : QPalette::ButtonText));
    const QString rotulo = m_modelo.Nombre(notario) +
                           (m_modelo.EsIlegible(notario) ? QStringLiteral(" (no se puede leer)") : QString());
    const QString nombre = QFontMetrics(letra).elidedText(rotulo, Qt::ElideRight, grupo.width() - 2 * Margen);
    // In the middle of what is in sight of the group.
    pintor->drawText(grupo.intersected(viewport()->rect()), Qt::AlignCenter, nombre);
    pintor->restore();
}

// ---------------------------------------------------------------------------------------------------------------------
// Grid

TRejillaConjunta::TRejillaConjunta(TModeloConjunto &modelo, IEdicionConjunta &edicion, QWidget *padre)
    : QTableView(padre)
    , m_edicion(edicion)
    , m_cabecera(new TCabeceraConjunta(modelo, this))
{
    setModel(&modelo);
    setHorizontalHeader(m_cabecera);
    setItemDelegate(new TDelegadoConjunto(edicion, this));
    setEditTriggers(AnyKeyPressed | EditKeyPressed | DoubleClicked);
    setSelectionMode(ExtendedSelection);
    setTabKeyNavigation(true);
    setWordWrap(false);
    setShowGrid(true);
    setHorizontalScrollMode(ScrollPerPixel);
    setCornerButtonEnabled(false);
    verticalHeader()->setSectionsClickable(true);
    verticalHeader()->setHighlightSections(true);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
}

void TRejillaConjunta::VeA(const QModelIndex &celda)
{
    selectionModel()->setCurrentIndex(celda, QItemSelectionModel::ClearAndSelect);
}

bool TRejillaConjunta::edit(const QModelIndex &celda, EditTrigger motivo, QEvent *evento)
{
    const bool loPide = motivo == AllEditTriggers || (editTriggers() & motivo);
    if (!loPide || !celda.isValid() || EstaEditando())
        return QTableView::edit(celda, motivo, evento);
    if (!m_edicion.EmpiezaEdicion(celda))
        return true; // told already; the key is not looked at again
    // Taking the line may have shown it afresh: the cell is looked up again where it stands now.
    m_editada = currentIndex();
    if (QTableView::edit(currentIndex(), motivo, evento))
        return true;
    m_editada = QModelIndex();
    m_edicion.TerminaEdicion();
    return false;
}

void TRejillaConjunta::keyPressEvent(QKeyEvent *tecla)
{
    switch (tecla->key()) {
    case Qt::Key_Enter:
    case Qt::Key_Return:
    case Qt::Key_Space:
        // Opens the cell with what it holds; typing a letter begins it anew.
        if (tecla->modifiers() == Qt::NoModifier || tecla->modifiers() == Qt::KeypadModifier) {
            edit(currentIndex(), EditKeyPressed, tecla);
            return;
        }
        break;
    case Qt::Key_Escape:
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        tecla->ignore(); // the window's; they are no letters to begin a cell with
        return;
    default:
        break;
    }
    QTableView::keyPressEvent(tecla);
}

void TRejillaConjunta::inputMethodEvent(QInputMethodEvent *evento)
{
    // A letter made with a dead key comes finished, without ever being composed; the view would let it fall.
    const bool acabada = !evento->commitString().isEmpty() && evento->preeditString().isEmpty();
    if (!acabada || EstaEditando() || !currentIndex().isValid()) {
        QTableView::inputMethodEvent(evento);
        return;
    }
    edit(currentIndex(), EditKeyPressed, nullptr);
    if (QWidget *const editor = indexWidget(currentIndex()); editor && EstaEditando())
        QCoreApplication::sendEvent(editor, evento);
}

void TRejillaConjunta::resizeEvent(QResizeEvent *evento)
{
    QTableView::resizeEvent(evento);
    emit Redimensionada();
}

void TRejillaConjunta::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint luego)
{
    if (!editor || editor != indexWidget(m_editada))
        return; // closed already; another one may be open
    const auto *const delegado = qobject_cast<const TDelegadoConjunto *>(itemDelegate());
    if (luego != QAbstractItemDelegate::RevertModelCache && delegado && delegado->QuedaPendiente()) {
        // What was typed stays where it was typed, to be tried again or given up with Esc.
        VeA(m_editada);
        dbcontrols::callLater(editor, [editor] { editor->setFocus(); });
        return;
    }
    QTableView::closeEditor(editor, QAbstractItemDelegate::NoHint);
    m_editada = QModelIndex();
    m_edicion.TerminaEdicion();
    // Not the view's own way to the next cell, which would open it without taking its line first.
    const bool siguiente = luego == QAbstractItemDelegate::EditNextItem;
    if (!siguiente && luego != QAbstractItemDelegate::EditPreviousItem)
        return;
    VeA(moveCursor(siguiente ? MoveNext : MovePrevious, Qt::NoModifier));
    // Who types on to the next cell has not asked for a slot where there is none.
    if (!currentIndex().data(TModeloConjunto::PapelHueco).toBool())
        edit(currentIndex(), AllEditTriggers, nullptr);
}

// ---------------------------------------------------------------------------------------------------------------------
// Cells

TDelegadoConjunto::TDelegadoConjunto(IEdicionConjunta &edicion, QObject *padre)
    : QStyledItemDelegate(padre)
    , m_edicion(edicion)
{
}

void TDelegadoConjunto::paint(QPainter *pintor, const QStyleOptionViewItem &opcion,
                              const QModelIndex &celda) const
{
    const QPalette &colores = opcion.palette;
    const bool hueco = celda.data(TModeloConjunto::PapelHueco).toBool();
    QColor fondo = colores.color(hueco ? QPalette::Window : QPalette::Base);
    QColor tinta = colores.color(hueco ? QPalette::PlaceholderText : QPalette::Text);
    if (const QVariant color = celda.data(Qt::BackgroundRole); color.isValid()) {
        fondo = color.value<QColor>();
        tinta = dbcontrols::readableOn(fondo, colores.color(QPalette::Text));
    }
    if (opcion.state & QStyle::State_Selected) {
        fondo = colores.color(QPalette::Active, QPalette::Highlight);
        tinta = colores.color(QPalette::Active, QPalette::HighlightedText);
    }
    pintor->save();
    pintor->fillRect(opcion.rect, fondo);
    pintor->setPen(tinta);
    const QRect dentro = opcion.rect.adjusted(Margen, 0, -Margen, 0);
    if (hueco) {
        const bool ilegible = celda.data(TModeloConjunto::PapelIlegible).toBool();
        pintor->drawText(dentro, Qt::AlignCenter, ilegible ? QStringLiteral("?") : QStringLiteral("–"));
    } else {
        QString texto = celda.data().toString();
        texto.replace(u'\n', u' ');
        pintor->drawText(dentro, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                         opcion.fontMetrics.elidedText(texto, Qt::ElideRight, dentro.width()));
    }
    const QRect canto(opcion.rect.left(), opcion.rect.top(), GrosorDelCanto, opcion.rect.height());
    if (const QVariant color = celda.data(Qt::BackgroundRole); color.isValid())
        pintor->fillRect(canto, color.value<QColor>()); // seen under a selection too
    else if (EmpiezaNotario(celda.column()) && celda.column() > 0)
        pintor->fillRect(canto, colores.color(QPalette::Mid));
    if (opcion.state & QStyle::State_HasFocus) {
        pintor->setPen(QPen(tinta, GrosorDelFoco));
        pintor->drawRect(opcion.rect.adjusted(1, 1, -1, -1));
    }
    pintor->restore();
}

QWidget *TDelegadoConjunto::createEditor(QWidget *padre, const QStyleOptionViewItem & /*opcion*/,
                                         const QModelIndex &celda) const
{
    auto *const editor = new QLineEdit(padre); // the view owns and deletes its editors
    editor->setFrame(false);
    editor->setAutoFillBackground(true);
    editor->setAccessibleName(celda.data(Qt::AccessibleTextRole).toString());
    m_pendiente = false;
    dbcontrols::useTextMenu(*editor);
    m_edicion.PreparaEditor(*editor, celda);
    return editor;
}

void TDelegadoConjunto::setEditorData(QWidget *editor, const QModelIndex &celda) const
{
    // Filled once: what the user has typed is not put right by news from elsewhere.
    auto *const linea = qobject_cast<QLineEdit *>(editor);
    if (!linea || linea->property("Lleno").toBool())
        return;
    linea->setProperty("Lleno", true);
    linea->setText(celda.data(Qt::EditRole).toString());
    linea->selectAll();
}

void TDelegadoConjunto::setModelData(QWidget *editor, QAbstractItemModel * /*modelo*/,
                                     const QModelIndex &celda) const
{
    if (auto *const linea = qobject_cast<QLineEdit *>(editor))
        m_pendiente = !m_edicion.GuardaEdicion(*linea, celda);
}

bool TDelegadoConjunto::eventFilter(QObject *objeto, QEvent *evento)
{
    // The base class would write and close a cell that a list or a message box covers.
    if (evento->type() == QEvent::FocusOut && m_edicion.HayDialogo())
        return false;
    // At once, so that nothing comes between the key and the text: what the base class puts off would also
    // be done while a table is waited for.
    if (auto *const editor = qobject_cast<QLineEdit *>(objeto);
        editor && evento->type() == QEvent::KeyPress) {
        const int tecla = static_cast<QKeyEvent *>(evento)->key();
        if (tecla == Qt::Key_Enter || tecla == Qt::Key_Return) {
            emit commitData(editor);
            emit closeEditor(editor, SubmitModelCache);
            return true;
        }
    }
    return QStyledItemDelegate::eventFilter(objeto, evento);
}
