#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QList>
#include <QtCore/QString>

/// Memory of this process.
struct TMemoria {
    int Propia = 0;      ///< kB of its own: heap and stack
    int Todas = 0;       ///< the same and the pages of files
    int MasQueNunca = 0; ///< the most that it has been
};

/// Zeros where the system does not tell.
inline TMemoria Memoria()
{
    TMemoria memoria;
    QFile estado(QStringLiteral("/proc/self/status"));
    if (!estado.open(QIODevice::ReadOnly))
        return memoria;
    const QList<QByteArray> lineas = estado.readAll().split('\n');
    for (const QByteArray &linea : lineas) {
        const auto kB = [&linea] { return linea.simplified().split(' ').value(1).toInt(); };
        if (linea.startsWith("RssAnon:"))
            memoria.Propia = kB();
        else if (linea.startsWith("VmRSS:"))
            memoria.Todas = kB();
        else if (linea.startsWith("VmHWM:"))
            memoria.MasQueNunca = kB();
    }
    return memoria;
}
