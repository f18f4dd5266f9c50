#include "tests/simulacion/Azar.h"

namespace simulacion
{

quint64 TAzar::Siguiente()
{
    m_estado += 0x9E3779B97F4A7C15ULL;
    quint64 z = m_estado;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

namespace
{

/// Whether a step writes what has been typed, or a whole day.
bool Escribe(const TPaso &paso)
{
    return (paso.Verbo == TVerbo::boton && paso.A == aceptar) ||
           (paso.Verbo == TVerbo::accion && (paso.A >= pegar || paso.A == salida || paso.A == ausente));
}

} // namespace

int TAzar::Hasta(int limite)
{
    return static_cast<int>(Siguiente() % static_cast<quint64>(limite));
}

int TGuion::Sortea(std::initializer_list<int> queYCuanto)
{
    int total = 0;
    for (const int *una = queYCuanto.begin(); una != queYCuanto.end(); una += 2)
        total += una[1];
    int tirada = m_azar.Hasta(qMax(1, total));
    const int *una = queYCuanto.begin();
    while ((tirada -= una[1]) >= 0)
        una += 2;
    return *una;
}

TPaso TGuion::Siguiente(const QList<TRespuesta> &puestos, int numero, bool bloqueado)
{
    if (m_azar.UnaDe(bloqueado ? 6 : 7))
        return DelOtro(puestos, numero, bloqueado);
    TPaso paso;
    paso.Puesto = static_cast<quint8>(m_azar.Hasta(static_cast<int>(puestos.size())));
    const TRespuesta &puesto = puestos.at(paso.Puesto);
    switch (puesto.Estado) {
    case TEstado::muerto:
    case TEstado::cerrado:
        paso.Verbo = TVerbo::abre;
        paso.A = m_cual == TCual::multi ? 0 : m_azar.Hasta(Dias);
        return paso;
    case TEstado::enLlamada:
        paso.Verbo = m_azar.UnaDe(25) ? TVerbo::mata : TVerbo::sigue;
        return paso;
    case TEstado::pregunta:
    case TEstado::vista:
        paso.Verbo = m_azar.UnaDe(5) ? TVerbo::tic : TVerbo::responde;
        paso.A = m_azar.Hasta(4) > 0 ? 1 : 0;
        break;
    case TEstado::fecha:
        paso.Verbo = m_azar.UnaDe(5) ? TVerbo::tic : TVerbo::eligeDia;
        paso.A = m_azar.UnaDe(6) ? -1 : m_azar.Hasta(Dias);
        break;
    case TEstado::listo:
        if (m_azar.UnaDe(400)) {
            paso.Verbo = TVerbo::mata;
            return paso;
        }
        if (m_cual == TCual::conjunta)
            EnConjunta(paso, puesto.Pantalla, numero);
        else if (m_cual != TCual::multi)
            EnUnica(paso, puesto.Pantalla, numero);
        else if (puesto.Pantalla.Ficha)
            EnFicha(paso, puesto.Pantalla, numero);
        else
            EnVentana(paso, puesto.Pantalla, numero);
        break;
    }
    Percance(paso);
    return paso;
}

void TGuion::Percance(TPaso &paso)
{
    // Another day is read from one table after the other, and several lines are written one after the other:
    // these can be left half done.
    const bool porPartes = LlevaAOtroDia(paso) || paso.Verbo == TVerbo::eligeDia ||
                           paso.Verbo == TVerbo::responde || (m_cual != TCual::multi && Escribe(paso)) ||
                           (m_cual == TCual::conjunta && paso.Verbo == TVerbo::accion);
    if (!m_azar.UnaDe(porPartes ? 4 : 10))
        return;
    paso.Percance = Elige(TPercance::lenta, 5, TPercance::falla, porPartes ? 9 : 3, TPercance::muere,
                          porPartes ? 4 : 2, TPercance::rota, m_cual == TCual::conjunta ? 6 : 0);
    paso.Llamada = 1 + m_azar.Hasta(m_azar.UnaDe(2) ? 5 : 40);
    paso.C = Elige(alLeer, 4, alProyectar, 1, alAbrir, 1, alBloquear, 3, alReservar, 1);
}

TPaso TGuion::DelOtro(const QList<TRespuesta> &puestos, int numero, bool bloqueado)
{
    TPaso paso;
    paso.A = m_azar.Hasta(Notarios);
    paso.B = m_azar.Hasta(1000);
    const TPantalla &vista = puestos.at(m_azar.Hasta(static_cast<int>(puestos.size()))).Pantalla;
    if (vista.Actual.Marca != 0 && !m_azar.UnaDe(3)) { // where it matters: what somebody has under his keys
        TSitio sitio = vista.Actual;
        if (!vista.Seleccion.isEmpty() && m_azar.UnaDe(2))
            sitio = vista.Seleccion.at(m_azar.Hasta(static_cast<int>(vista.Seleccion.size())));
        paso.A = sitio.Notario - 1;
        paso.B = PorMarca + static_cast<int>(sitio.Marca);
    }
    if (bloqueado) {
        paso.Verbo = TVerbo::suelta;
        return paso;
    }
    paso.Verbo = Elige(TVerbo::otroCambia, 10, TVerbo::otroMueve, 7, TVerbo::otraHora, 4, TVerbo::otroBorra,
                       4, TVerbo::otroAnade, 3, TVerbo::bloqueaTabla, 1, TVerbo::bloqueaLinea, 2);
    paso.C = paso.Verbo == TVerbo::otroMueve || paso.Verbo == TVerbo::otraHora ? m_azar.Hasta(6) : numero;
    return paso;
}

void TGuion::EnVentana(TPaso &paso, const TPantalla &pantalla, int numero)
{
    paso.Verbo = Elige(TVerbo::tecla, 24, TVerbo::texto, 14, TVerbo::accion, 30, TVerbo::clic, 16,
                       TVerbo::pestana, 5, TVerbo::fecha, 6, TVerbo::memo, 3, TVerbo::tic, 10);
    paso.A = numero;
    if (paso.Verbo == TVerbo::tecla) {
        paso.A = pantalla.Editando
                     ? Elige(intro, 8, arriba, 2, abajo, 2, escape, 1, tabulador, 1)
                     : Elige(arriba, 6, abajo, 8, intro, 3, escape, pantalla.Editor ? 2 : 0, tabulador, 2,
                             suprimir, 4, insertar, 3, espacio, 4, borraTexto, 1, cifra, 2);
    } else if (paso.Verbo == TVerbo::accion) {
        paso.A = Elige(nuevo, 4, modificar, 5, detalles, 2, borrar, 7, salida, 4, ausente, 1, sincronizar, 3,
                       anterior, 3, siguiente, 3, buscarDia, 6, copiar, 4, mover, 8, imprimirDia, 2,
                       imprimirSemana, 1);
    } else if (paso.Verbo == TVerbo::clic) {
        EnFila(paso, pantalla.Filas.size());
    } else if (paso.Verbo == TVerbo::pestana) {
        paso.A = m_azar.Hasta(Notarios);
    } else if (paso.Verbo == TVerbo::fecha) {
        paso.A = m_azar.Hasta(Dias);
        paso.B = Elige(entera, 8, aMedias, 1, trasBorrarTodo, 2, sinSalir, 2);
    }
}

/// A row, and with which key it is chosen.
void TGuion::EnFila(TPaso &paso, qsizetype filas)
{
    paso.A = m_azar.Hasta(qMax(1, static_cast<int>(filas)));
    paso.B = m_azar.Hasta(2);
}

void TGuion::EnConjunta(TPaso &paso, const TPantalla &pantalla, int numero)
{
    paso.A = numero;
    if (pantalla.Editor) {
        paso.Verbo =
            Elige(TVerbo::texto, 5, TVerbo::tecla, 9, TVerbo::accion, 1, TVerbo::clic, 1, TVerbo::tic, 3);
        if (paso.Verbo == TVerbo::tecla)
            paso.A = Elige(intro, 8, tabulador, 2, escape, 1, arriba, 1, suprimir, 1);
    } else {
        paso.Verbo = Elige(TVerbo::texto, 14, TVerbo::tecla, 22, TVerbo::accion, 30, TVerbo::clic, 22,
                           TVerbo::fecha, 4, TVerbo::tic, 10);
        if (paso.Verbo == TVerbo::tecla)
            paso.A = Elige(arriba, 5, abajo, 7, izquierda, 3, derecha, 5, intro, 5, suprimir, 4, insertar, 1,
                           tabulador, 2, ctrlC, 2, ctrlV, 2);
    }
    if (paso.Verbo == TVerbo::accion) {
        paso.A = Elige(nuevo, 3, borrar, 6, salida, 4, ausente, 2, anterior, 2, siguiente, 3, buscarDia, 4,
                       imprimirDia, 1, imprimirSemana, 1, copiarAnotacion, 5, pegar, 5, limpiar, 3, completar,
                       4, pegarAHora, 3, vaciar, 2);
    } else if (paso.Verbo == TVerbo::clic) {
        EnFila(paso, pantalla.Filas.size() / Notarios + 1);
        paso.C = m_azar.Hasta(Notarios * 3);
    } else if (paso.Verbo == TVerbo::fecha) {
        paso.A = m_azar.Hasta(Dias);
        paso.B = Elige(entera, 3, sinSalir, 1);
    }
}

void TGuion::EnFicha(TPaso &paso, const TPantalla &pantalla, int numero)
{
    if (!pantalla.FichaEditando) {
        paso.Verbo = Elige(TVerbo::boton, 6, TVerbo::tecla, 3, TVerbo::tic, 1);
        if (paso.Verbo == TVerbo::boton)
            paso.A = Elige(salir, 5, modificarFicha, 2, borrarFicha, 1, nuevoFicha, 1);
        else
            paso.A = Elige(escape, 4, espacio, 2, suprimir, 1, insertar, 1);
        return;
    }
    paso.Verbo = Elige(TVerbo::campo, 8, TVerbo::boton, 5, TVerbo::tecla, 2, TVerbo::tic, 1);
    if (paso.Verbo == TVerbo::campo) {
        paso.A = Elige(enConcepto, 6, enHora, 2, enHoraFin, 4, enFecha, 2, enInteresado, 2);
        paso.B = paso.A == enConcepto ? numero : m_azar.Hasta(6);
    } else {
        paso.A = paso.Verbo == TVerbo::boton
                     ? static_cast<int>(Elige(aceptar, 6, cancelar, 1))
                     : Elige(intro, 3, tabulador, 3, escape, 1, borraTexto, 1, cifra, 1);
    }
}

void TGuion::EnUnica(TPaso &paso, const TPantalla &pantalla, int numero)
{
    if (pantalla.Editando) {
        paso.Verbo = Elige(TVerbo::campo, 9, TVerbo::boton, 5, TVerbo::tecla, 3, TVerbo::tic, 1);
        if (paso.Verbo == TVerbo::campo) {
            paso.A = Elige(enConcepto, 6, enInteresado, 4, enOficial, 2, enHora, 4, enSalida, 1);
            paso.B = paso.A == enHora ? m_azar.Hasta(6) : numero;
        } else if (paso.Verbo == TVerbo::boton) {
            paso.A = Elige(aceptar, 8, salir, 1);
        } else {
            paso.A = Elige(intro, 4, tabulador, 2, escape, 1, borraTexto, 1, cifra, 1);
        }
        return;
    }
    const bool doble = m_cual == TCual::doble;
    paso.Verbo = Elige(TVerbo::accion, 34, TVerbo::tecla, 26, TVerbo::clic, 20, TVerbo::tic, 12);
    if (paso.Verbo == TVerbo::accion) {
        paso.A =
            Elige(nuevo, 6, modificar, 12, borrar, 5, salida, 3, ausente, doble ? 1 : 3, anterior, 5,
                  siguiente, 5, copiarAnotacion, 4, pegar, 5, imprimirDia, 2, imprimirSemana, doble ? 0 : 1,
                  volver, doble ? 6 : 0, salidaDelOtro, doble ? 3 : 0, ausenteElOtro, doble ? 1 : 0);
    } else if (paso.Verbo == TVerbo::tecla) {
        paso.A = Elige(arriba, 6, abajo, 8, intro, doble ? 3 : 1, suprimir, 3, insertar, 2, mayInsertar, 4,
                       ctrlC, 2, ctrlV, 2, izquierda, 2, derecha, 2, escape, 1);
    } else if (paso.Verbo == TVerbo::clic) {
        EnFila(paso, pantalla.Filas.size());
    }
}

} // namespace simulacion
