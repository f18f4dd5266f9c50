#include "host/Trabajo.h"

#include <exception>

TTrabajo::~TTrabajo()
{
    m_parar = true;
    if (m_hilo.joinable())
        m_hilo.join();
}

void TTrabajo::Empieza(TCuerpo cuerpo)
{
    if (m_hilo.joinable())
        m_hilo.join(); // it has said its last word
    m_parar = false;
    m_enMarcha = true;
    m_hilo = std::thread([this, trabaja = std::move(cuerpo)] {
        TFinal final;
        try {
            final = trabaja(*this);
        } catch (const std::exception &error) {
            final.Mensaje = QString::fromUtf8(error.what());
        }
        m_enMarcha = false;
        emit termina(final.Mensaje, final.Cancelado);
    });
}
