#include "tests/simulacion/Juez.h"

#include <QtCore/QRegularExpression>

#include <algorithm>

namespace simulacion
{

namespace
{

QStringList TextosDe(const QString &concepto)
{
    static const QRegularExpression texto(QStringLiteral("T\\d+\\."));
    QStringList todos;
    for (auto i = texto.globalMatch(concepto); i.hasNext();)
        todos << i.next().captured();
    return todos;
}

/// How many lines a message names as not done.
int Nombradas(const QStringList &avisos)
{
    static const QRegularExpression hora(
        QStringLiteral("^[\\d ]{2}:[\\d ]{0,2}( |$)"), // perhaps not typed to its end
        QRegularExpression::MultilineOption);
    int cuantas = 0;
    for (const QString &aviso : avisos)
        for (auto i = hora.globalMatch(aviso); i.hasNext(); i.next())
            ++cuantas;
    return cuantas;
}

} // namespace

TFallo Fallo(char regla, const QString &que)
{
    return {QLatin1Char(regla), que};
}

bool EnOrden(const QList<TFila> &filas)
{
    return std::is_sorted(filas.begin(), filas.end(), [](const TFila &a, const TFila &b) {
        return std::tie(a.Sitio.Notario, a.Linea.Hora) < std::tie(b.Sitio.Notario, b.Linea.Hora);
    });
}

QString Clave(const QString &fecha)
{
    QDate dia = QDate::fromString(fecha, QStringLiteral("dd/MM/yyyy"));
    if (!dia.isValid())
        dia = QDate::fromString(fecha.trimmed(), QStringLiteral("dd/MM/yy")).addYears(100);
    return dia.toString(QStringLiteral("yyyyMMdd"));
}

TJuez::TJuez(TCual cual, const std::vector<std::unique_ptr<TTablaCruda>> &tablas, int puestos)
    : m_cual(cual)
    , m_tablas(tablas)
    , m_ordenes(puestos)
    , m_memorias(puestos)
{
}

/// The command that a step is, by its place in Acciones; -1: none.
int TJuez::AccionDe(const TPaso &paso) const
{
    if (paso.Verbo == TVerbo::accion)
        return paso.A;
    if (paso.Verbo == TVerbo::boton)
        return paso.A == borrarFicha ? borrar : paso.A == nuevoFicha ? nuevo : -1;
    if (paso.Verbo == TVerbo::tecla) {
        switch (paso.A) {
        case suprimir:
            return m_cual == TCual::conjunta ? limpiar : borrar;
        case insertar:
            return nuevo;
        case espacio:
        case mayInsertar:
            return m_cual == TCual::conjunta ? -1 : modificar;
        case ctrlC:
            return copiarAnotacion;
        case ctrlV:
            return pegar;
        default:
            return -1;
        }
    }
    return -1;
}

/// What stands on a screen may be worked on from here on.
void TJuez::Ensena(TOrden &orden, const TPantalla &pantalla, bool ficha)
{
    const auto anota = [&](const TFila &fila) {
        QList<TLinea> &versiones = orden.Vistas[fila.Sitio];
        if (!versiones.contains(fila.Linea))
            versiones << fila.Linea;
    };
    std::for_each(pantalla.Filas.begin(), pantalla.Filas.end(), anota);
    if (ficha && pantalla.EnFicha.Sitio.Marca != 0)
        anota(pantalla.EnFicha);
}

QList<TSitio> TJuez::LineasDe(const TPantalla &pantalla) const
{
    // The card knows one line alone, and of the joint day's cells the current one may not be chosen.
    if (pantalla.Seleccion.size() > (m_cual == TCual::conjunta ? 0 : 1) && !pantalla.Ficha)
        return pantalla.Seleccion;
    return pantalla.Actual.Marca != 0 ? QList{pantalla.Actual} : QList<TSitio>();
}

/// A command is given on what a screen shows.
void TJuez::Empieza(TOrden &orden, const TPantalla &pantalla) const
{
    orden.Pantalla = pantalla;
    orden.Lineas = LineasDe(pantalla);
    Ensena(orden, pantalla, true);
}

void TJuez::Antes(const TPaso &paso, const TRespuesta &ultima)
{
    TOrden &orden = m_ordenes[paso.Puesto];
    const TPantalla &pantalla = ultima.Pantalla;
    if (!orden.Abierta) {
        orden = {};
        orden.Abierta = true;
        Empieza(orden, pantalla);
    } else if (m_cual == TCual::conjunta && ultima.Estado == TEstado::listo) {
        orden.Lineas = LineasDe(pantalla); // chosen while the cell was being typed into
    }
    orden.ConFecha |= pantalla.FechaConFoco;
    if (pantalla.FechaConFoco &&
        m_cual != TCual::conjunta) // perhaps after something that is still being typed in the lines
        orden.FechaTecleada = Clave(pantalla.Fecha);
    orden.Pasos << paso;
    orden.Percance |= paso.Percance != TPercance::ninguno;
    if (paso.Verbo == TVerbo::texto || paso.Verbo == TVerbo::memo)
        orden.Escrito << Texto(paso.A);
    if (paso.Verbo == TVerbo::campo && (paso.A == enConcepto || (EsDeUnaTabla(m_cual) && paso.A != enHora)))
        orden.Escrito << Texto(paso.B);
    if (!EsDeUnaTabla(m_cual))
        orden.Cancelada |= (paso.Verbo == TVerbo::tecla && paso.A == escape) ||
                           (paso.Verbo == TVerbo::boton && paso.A == cancelar);
    else
        orden.Cancelada |= paso.Verbo == TVerbo::responde && paso.A == 1 &&
                           ultima.Pregunta.contains(QLatin1String("deshacer"));
    if (paso.Verbo == TVerbo::responde && ultima.Estado == TEstado::pregunta)
        orden.Negada = paso.A != 1;
    if (paso.Verbo == TVerbo::eligeDia && ultima.Estado == TEstado::fecha) {
        orden.Negada = paso.A < 0;
        orden.Destino = Dia(paso.A % Dias).toString(QStringLiteral("yyyyMMdd"));
    }
}

TVeredicto TJuez::Despues(const TPaso &paso, const TRespuesta &ahora, const TCambios &cambios, bool tranquilo)
{
    TOrden &orden = m_ordenes[paso.Puesto];
    const bool muerto = ahora.Estado == TEstado::muerto;
    if (!ahora.Hecho && !muerto && orden.Pasos.size() == 1 && cambios.isEmpty()) {
        orden.Abierta = false; // no such command just now
        return {};
    }
    if (!ahora.Hecho && !muerto && !orden.Pasos.isEmpty())
        orden.Pasos.removeLast(); // in a box, say, which takes no commands: nobody has asked for it
    orden.Avisos << ahora.Avisos;
    for (const QString &aviso : ahora.Avisos)
        if (aviso.contains(QLatin1String("ha cambiado a la vez")))
            orden.Choques += static_cast<int>(aviso.count(u':'));
    orden.Cambios << cambios;
    orden.PreguntaBorrar |= ahora.Pregunta.contains(QLatin1String("borrar"));
    orden.PreguntasAnadir += ahora.Pregunta.contains(QStringView(u"añadirlo")) ? 1 : 0;
    for (const TCambio &cambio : cambios) {
        if (m_cual == TCual::doble)
            break; // judged together, when the command is done
        if (auto fallo = cambio.Antes ? JuzgaCambio(orden, cambio) : JuzgaNueva(orden, cambio))
            return fallo;
        // What the clerk has just written he knows.
        if (cambio.Despues)
            orden.Vistas[cambio.Sitio] << *cambio.Despues;
    }
    if (auto fallo = JuzgaHojas(ahora, tranquilo && !orden.Percance))
        return fallo;
    const bool espera = ahora.Estado == TEstado::pregunta || ahora.Estado == TEstado::fecha;
    if (espera && !EsDeUnaTabla(m_cual) && (orden.Edita || orden.Pantalla.FechaConFoco))
        Empieza(orden, ahora.Pantalla); // what was being typed is stored, and the command works on the rest
    else if (espera && m_cual == TCual::conjunta)
        Ensena(orden, ahora.Pantalla, false); // which is shown afresh before it is asked about
    const TPantalla &pantalla = ahora.Pantalla;
    if (ahora.Estado == TEstado::listo) {
        if (auto fallo = JuzgaPantalla(pantalla))
            return fallo;
        if (paso.Verbo == TVerbo::tic && tranquilo && ahora.Hecho)
            if (auto fallo =
                    m_cual == TCual::doble ? AlDiaDeDos(pantalla, m_memorias[paso.Puesto]) : AlDia(pantalla))
                return fallo;
    }
    if (!muerto && ahora.Estado != TEstado::cerrado &&
        (ahora.Estado != TEstado::listo || pantalla.Editando)) {
        if (ahora.Estado != TEstado::listo)
            return {};
        // Being typed into: the line is locked, and the screen may show others afresh.
        const bool nueva = pantalla.Ficha && !orden.EnFicha;
        orden.Edita = true;
        orden.EnFicha |= pantalla.FichaEditando;
        Ensena(orden, pantalla, nueva);
        if (!ahora.Avisos.isEmpty() || nueva) { // shown with what the table holds by now
            const auto &lineas = Tabla(pantalla.Actual.Notario).Lineas();
            if (const auto linea = lineas.constFind(pantalla.Actual.Marca); linea != lineas.cend())
                orden.Vistas[pantalla.Actual] << *linea;
        }
        orden.Pendiente = pantalla.Pendiente;
        if (EsDeUnaTabla(m_cual))
            orden.Avisos.clear(); // whatever he was told, he goes on with it
        return {};
    }
    orden.Abierta = false;
    TMemoria &memoria = m_memorias[paso.Puesto];
    if (muerto && m_cual == TCual::doble) // who would have been told
        orden.Choques += PuedenChocar(orden, memoria);
    TVeredicto fallo = JuzgaTextos(orden, memoria);
    if (!fallo)
        fallo = m_cual == TCual::doble      ? JuzgaCitas(orden, memoria, ahora)
                : m_cual == TCual::conjunta ? JuzgaConjunta(orden, muerto)
                                            : JuzgaCuentas(orden, muerto);
    if (!fallo)
        fallo = JuzgaPendiente(orden, muerto);
    Recuerda(orden, memoria, ahora);
    return fallo;
}

bool TJuez::Tiene(const TOrden &orden, int accion) const
{
    // Space presses the button that has the focus, whichever that is.
    return (accion == borrar && orden.PreguntaBorrar) ||
           std::any_of(orden.Pasos.begin(), orden.Pasos.end(),
                       [&](const TPaso &paso) { return AccionDe(paso) == accion; });
}

bool TJuez::TieneMarca(const TOrden &orden) const
{
    return Tiene(orden, ausente) || Tiene(orden, ausenteElOtro) || Tiene(orden, salida) ||
           Tiene(orden, salidaDelOtro);
}

/// Rule a: whoever changes or deletes a line has had it on his screen as it was.
TVeredicto TJuez::JuzgaCambio(const TOrden &orden, const TCambio &cambio) const
{
    const TLinea &antes = *cambio.Antes;
    const QList<TLinea> vistas = orden.Vistas.value(cambio.Sitio);
    if ((orden.EnFicha || Tiene(orden, pegar) || Tiene(orden, pegarAHora)) && antes.SinTexto())
        return {}; // up to an end hour, perhaps on a day that is not on the screen: nothing is lost by that
    if (!orden.FechaTecleada.isEmpty() && antes.Fecha == orden.FechaTecleada)
        return {}; // of the day that he has typed and not seen yet, which counts before a command
    const bool vista = std::any_of(vistas.begin(), vistas.end(), [&](const TLinea &una) {
        return una == antes || (antes.SinTexto() && una.SinTexto() && una.Fecha == antes.Fecha);
    });
    if (vista)
        return {};
    QString mostrado = vistas.isEmpty() ? QStringLiteral("no estaba en pantalla") : QString();
    for (const TLinea &una : vistas)
        mostrado += u'«' + una.EnTexto() + QStringLiteral("» ");
    return Fallo('a', cambio.EnTexto() + QStringLiteral("; en pantalla: ") + mostrado);
}

/// Rules b and d: a new line is one that somebody asked for.
TVeredicto TJuez::JuzgaNueva(const TOrden &orden, const TCambio &cambio) const
{
    const TLinea &nueva = *cambio.Despues;
    const auto nuevas = std::count_if(orden.Cambios.begin(), orden.Cambios.end(),
                                      [](const TCambio &uno) { return !uno.Antes; });
    if (m_cual == TCual::conjunta
            ? PedidaEnConjunta(orden, cambio)
            : orden.EnFicha || (Tiene(orden, nuevo) && (m_cual == TCual::multi || nuevas == 1)))
        return {};
    if (Tiene(orden, copiar) || Tiene(orden, mover)) {
        for (const TSitio &sitio : orden.Lineas) {
            for (TLinea una : orden.Vistas.value(sitio)) {
                una.Fecha = orden.Destino;
                if (una == nueva)
                    return {};
            }
        }
    }
    TLinea hueco = nueva; // perhaps marked in the same step
    hueco.Concepto.remove(QLatin1String("[AUSENTE]")).remove(QLatin1String("[SALIDA]"));
    const bool porDias = orden.ConFecha || std::any_of(orden.Pasos.begin(), orden.Pasos.end(), LlevaAOtroDia);
    if (porDias && hueco.SinTexto()) {
        const QList<TFila> dia = Tabla(cambio.Sitio.Notario).Dia(nueva.Fecha);
        const bool deLaHoja = std::all_of(dia.begin(), dia.end(), [&](const TFila &fila) {
            return std::any_of(orden.Cambios.begin(), orden.Cambios.end(),
                               [&](const TCambio &uno) { return !uno.Antes && uno.Sitio == fila.Sitio; });
        });
        const auto mismaHora = std::count_if(
            dia.begin(), dia.end(), [&](const TFila &fila) { return fila.Linea.Hora == nueva.Hora; });
        if (deLaHoja && mismaHora <= 1) // none: others have deleted it meanwhile
            return {};
        return Fallo('b', QStringLiteral("hoja doble: ") + cambio.EnTexto());
    }
    return Fallo('b', QStringLiteral("nadie la ha pedido: ") + cambio.EnTexto());
}

/// Rule c: what stands in the date field is the day of the lines below it.
TVeredicto TJuez::JuzgaPantalla(const TPantalla &pantalla) const
{
    if (EsDeUnaTabla(m_cual) && pantalla.Editor != pantalla.Editando)
        return Fallo('f', pantalla.Editando ? QStringLiteral("la línea se ha quedado a medias")
                                            : QStringLiteral("el panel espera una línea que nadie escribe"));
    const QString dia = Clave(pantalla.Fecha);
    if (dia.isEmpty() || pantalla.FechaConFoco || pantalla.Ficha)
        return {};
    for (const TFila &fila : pantalla.Filas) {
        // A row that cannot be read just now is blank, and so of no day; AlDia() asks for it again.
        if (fila.Linea.Fecha != dia && fila.Linea != TLinea())
            return Fallo('c', QStringLiteral("la fecha dice %1 y la fila es «%2»")
                                  .arg(pantalla.Fecha, fila.Linea.EnTexto()));
    }
    return {};
}

TVeredicto TJuez::AlDia(const TPantalla &pantalla) const
{
    const QString dia = Clave(pantalla.Fecha);
    if (dia.isEmpty() || pantalla.FechaConFoco || pantalla.Ficha || pantalla.Editando || pantalla.Editor ||
        !pantalla.Ayuda.isEmpty())
        return {};
    if (pantalla.FilaActual < 0 && !pantalla.Filas.isEmpty())
        return Fallo('c', QStringLiteral("tras refrescar, la línea actual es la %1, que no está en pantalla")
                              .arg(pantalla.Actual.Marca));
    for (const TFila &fila : pantalla.Filas) {
        if (fila.Linea == TLinea())
            return Fallo('c', QStringLiteral("tras refrescar, la fila de la línea %1 está en blanco")
                                  .arg(fila.Sitio.Marca));
    }
    if (pantalla.FueraDeHora)
        return {};
    const auto renglon = [](const TFila &fila) {
        return QStringLiteral("%1 %2|").arg(fila.Sitio.Notario).arg(fila.Sitio.Marca) + fila.Linea.EnTexto();
    };
    QStringList enPantalla;
    QStringList enTabla;
    std::transform(pantalla.Filas.begin(), pantalla.Filas.end(), std::back_inserter(enPantalla), renglon);
    for (int notario = 1; notario <= TablasDe(m_cual); ++notario) {
        if (m_cual == TCual::conjunta || notario == pantalla.Actual.Notario)
            for (const TFila &fila : Tabla(notario).Dia(dia))
                enTabla << renglon(fila);
    }
    std::sort(enPantalla.begin(), enPantalla.end());
    std::sort(enTabla.begin(), enTabla.end());
    if (enPantalla == enTabla && EnOrden(pantalla.Filas))
        return {};
    return Fallo('c', QStringLiteral("tras refrescar, la pantalla dice\n%1\ny la tabla\n%2")
                          .arg(enPantalla.join(u'\n'), enTabla.join(u'\n')));
}

/// Rule c for paper.
TVeredicto TJuez::JuzgaHojas(const TRespuesta &ahora, bool tranquilo) const
{
    for (const THoja &hoja : ahora.Hojas) {
        const QList<TFila> dia = m_cual == TCual::doble // printed from memory
                                     ? ahora.Pantalla.Filas
                                     : Tabla(ahora.Pantalla.Actual.Notario).Dia(hoja.Fecha);
        bool bien = hoja.Fecha == Clave(ahora.Pantalla.Fecha);
        bien &= std::all_of(hoja.Lineas.begin(), hoja.Lineas.end(),
                            [&](const TLinea &una) { return una.Fecha == hoja.Fecha; });
        if (tranquilo && !ahora.Pantalla.FueraDeHora)
            bien &= hoja.Lineas.size() == dia.size() &&
                    std::all_of(dia.begin(), dia.end(),
                                [&](const TFila &fila) { return hoja.Lineas.contains(fila.Linea); });
        if (bien)
            continue;
        QStringList renglones;
        for (const TLinea &una : hoja.Lineas)
            renglones << una.EnTexto();
        return Fallo('c', QStringLiteral("hoja del %1 con la fecha %2:\n%3")
                              .arg(hoja.Fecha, ahora.Pantalla.Fecha, renglones.join(u'\n')));
    }
    return {};
}

/// Rules a and b: no text becomes more, or less, by a command that is not meant to do that.
TVeredicto TJuez::JuzgaTextos(const TOrden &orden, const TMemoria &memoria) const
{
    QMap<QString, int> saldo;
    for (const TCambio &cambio : orden.Cambios) {
        for (const QString &texto : cambio.Antes ? TextosDe(cambio.Antes->EnTexto()) : QStringList())
            --saldo[texto];
        for (const QString &texto : cambio.Despues ? TextosDe(cambio.Despues->EnTexto()) : QStringList())
            ++saldo[texto];
    }
    const bool mueve = Tiene(orden, mover);
    const bool pega = Tiene(orden, pegar) || Tiene(orden, pegarAHora);
    const bool marca =
        m_cual != TCual::multi && TieneMarca(orden) &&
        (m_cual != TCual::conjunta || !orden.Avisos.isEmpty()); // which say what no longer fits
    for (auto uno = saldo.cbegin(); uno != saldo.cend(); ++uno) {
        const bool escrito = orden.Escrito.contains(uno.key()) || orden.Pendiente.contains(uno.key());
        // The agenda of several notaries fills lines up to an end hour with what was typed once.
        const bool unaVez = m_cual == TCual::multi || *uno == 1;
        const bool masBien = *uno > 0 && ((escrito && unaVez) || Tiene(orden, copiar) || orden.Choques > 0 ||
                                          (pega && memoria.Copia.contains(uno.key())));
        const bool menosBien = *uno < 0 && !mueve &&
                               (orden.Edita || Tiene(orden, borrar) || pega || marca ||
                                Tiene(orden, volver) || Tiene(orden, limpiar));
        if (*uno != 0 && !masBien && !menosBien && !(mueve && orden.Edita))
            return Fallo(*uno > 0 ? 'b' : 'a',
                         QStringLiteral("el texto %1 está %2 veces más que antes").arg(uno.key()).arg(*uno));
    }
    return {};
}

TJuez::TCuentas TJuez::Cuenta(const TOrden &orden)
{
    TCuentas cuentas;
    for (const TCambio &uno : orden.Cambios) {
        cuentas.Borradas += uno.Despues ? 0 : 1;
        cuentas.Nuevas += uno.Antes ? 0 : 1;
        cuentas.Cambiadas += uno.Antes && uno.Despues ? 1 : 0;
        cuentas.Vacias += !uno.Antes && uno.Despues->SinTexto() ? 1 : 0;
    }
    return cuentas;
}

TFallo TJuez::ConCuentas(const TOrden &orden, qsizetype todas) const
{
    const auto [borradas, nuevas, cambiadas, vacias] = Cuenta(orden);
    const int accion = AccionDe(orden.Pasos.value(0));
    return Fallo('d', (accion < 0 ? QString() : NombreDeAccion(accion)) +
                          QStringLiteral(": de %1 líneas, %2 borradas, %3 nuevas, %4 cambiadas; avisos: %5")
                              .arg(todas)
                              .arg(borradas)
                              .arg(nuevas)
                              .arg(cambiadas)
                              .arg(orden.Avisos.join(QStringLiteral(" / "))));
}

/// Rule d: a command that is not refused has done all of it, and a refused one nothing.
TVeredicto TJuez::JuzgaCuentas(const TOrden &orden, bool muerto) const
{
    const int accion = AccionDe(orden.Pasos.value(0));
    if (orden.Edita || orden.ConFecha || orden.Lineas.isEmpty())
        return {};
    const auto [borradas, nuevas, cambiadas, vacias] = Cuenta(orden);
    const auto todas = orden.Lineas.size();
    // One line alone is not named; its message says that nothing has been done.
    const auto hechas = todas == 1 ? (orden.Avisos.isEmpty() ? 1 : 0) : todas - Nombradas(orden.Avisos);
    bool bien = true;
    if (orden.Negada)
        bien = orden.Cambios.isEmpty();
    else if (accion == mover)
        bien = borradas == nuevas && cambiadas == 0 &&
               (muerto || orden.Destino == Clave(orden.Pantalla.Fecha) || borradas == hechas);
    else if (muerto)
        bien = true;
    else if (accion == borrar)
        bien = borradas == hechas && nuevas == 0 && cambiadas == 0;
    else if (accion == copiar)
        bien = borradas == 0 && cambiadas == 0 &&
               (orden.Destino == Clave(orden.Pantalla.Fecha) ? nuevas == 0 : nuevas == hechas);
    else if (accion == salida)
        bien = borradas == 0 && nuevas == 0 && (cambiadas == hechas);
    else if (m_cual == TCual::unica)
        bien = borradas == 0 && nuevas == 0 &&
               (accion == ausente ? cambiadas == hechas
                : accion == pegar ? cambiadas <= hechas // perhaps the line says that already
                                  : cambiadas == 0);
    return bien ? TVeredicto() : ConCuentas(orden, todas);
}

/// Rule e: what was typed is stored, or its clerk has given it up, or he has been told.
TVeredicto TJuez::JuzgaPendiente(const TOrden &orden, bool muerto)
{
    if (muerto || orden.Cancelada || !orden.Avisos.isEmpty())
        return {};
    for (const QString &texto : TextosDe(orden.Pendiente)) {
        const bool guardado =
            std::any_of(orden.Cambios.begin(), orden.Cambios.end(), [&](const TCambio &uno) {
                return uno.Despues && uno.Despues->EnTexto().contains(texto);
            });
        if (!guardado && orden.Escrito.contains(texto))
            return Fallo('e', QStringLiteral("lo escrito se ha perdido sin aviso: ") + texto);
    }
    return {};
}

/// What a command leaves behind for the next ones.
void TJuez::Recuerda(const TOrden &orden, TMemoria &memoria, const TRespuesta &ahora) const
{
    const TLinea actual = orden.Pantalla.Filas.value(orden.Pantalla.FilaActual).Linea;
    // Of two notaries' texts the column says whose are copied, and an empty day has none.
    if (m_cual == TCual::conjunta && Tiene(orden, copiarAnotacion)) { // to what has been copied before
        for (const TSitio &sitio : orden.Lineas)
            for (const TLinea &linea : orden.Vistas.value(sitio))
                memoria.Copia << TextosDe(linea.EnTexto());
    } else if (Tiene(orden, copiarAnotacion) && (m_cual == TCual::unica || orden.Pantalla.FilaActual >= 0))
        memoria.Copia = TextosDe(orden.Pantalla.EnFicha.Linea.EnTexto());
    if (ahora.Estado != TEstado::listo)
        memoria = {}; // the window has gone, and with it what it had in memory
    else if (Tiene(orden, borrar) && !orden.Negada && orden.Avisos.isEmpty())
        memoria.Borradas << actual;
    else if ((TieneMarca(orden) || Tiene(orden, volver)) && (orden.Avisos.isEmpty() || orden.Choques > 0))
        memoria.Borradas.clear(); // gone, or told
    else if (Clave(orden.Pantalla.Fecha) != Clave(ahora.Pantalla.Fecha))
        memoria.Borradas.clear(); // another day
    else if (orden.Choques > 0)   // of a line that others have changed he has been told that it is back
        memoria.Borradas = SinMostrar(memoria.Borradas, ahora.Pantalla);
}

} // namespace simulacion
