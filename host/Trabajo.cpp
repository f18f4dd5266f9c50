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
        QString mensaje;
        try {
            mensaje = trabaja(*this);
        } catch (const std::exception &error) {
            mensaje = QString::fromUtf8(error.what());
        }
        m_enMarcha = false;
        emit termina(mensaje);
    });
}
