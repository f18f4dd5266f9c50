#pragma once

#include "tests/simulacion/Canal.h"
#include "tests/simulacion/Vocabulario.h"

#include <sys/types.h>

namespace simulacion
{

/// A workstation as the scheduler has it: a child process that stands still between two steps.
class TProceso
{
public:
    TProceso(TCual cual, QString carpeta);
    ~TProceso();
    TProceso(const TProceso &) = delete;
    TProceso &operator=(const TProceso &) = delete;

    /// Starts the program anew, on a day; the first answer says how it came up.
    void Arranca(int dia);
    /// Does a step, and waits until the workstation stands still again.
    const TRespuesta &Da(const TPaso &paso);
    /// The process goes as by a power cut.
    void Mata();
    [[nodiscard]] const TRespuesta &Ultima() const { return m_ultima; }
    /// How the process ended that was not to end; empty when it lives or was killed.
    [[nodiscard]] const QString &Averia() const { return m_averia; }

private:
    void Recibe(bool puedeMorir);
    TCual m_cual;
    QString m_carpeta;
    TCanal m_canal;
    pid_t m_pid = 0;
    TRespuesta m_ultima;
    QString m_averia;
};

} // namespace simulacion
