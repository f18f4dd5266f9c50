#pragma once

#include "dataset/DataSet.h"
#include "dbase/Table.h"
#include "tests/driver/FileCalls.h"
#include "tests/driver/ShareModel.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

namespace support
{

/// A table on a share whose disk has no room left just when the journal's past is to be kept: work goes on,
/// and the table has something to say, once. Of the tables opened from here on.
class AvisoDeTabla
{
public:
    /// @param carpeta  of the table alone. @param fichero  its name.
    AvisoDeTabla(const std::filesystem::path &carpeta, const std::string &fichero)
        : m_fichero(carpeta / fichero)
    {
        driver::filecalls::watch(carpeta, false);
        driver::filecalls::behaveAs(driver::filecalls::Share::smb);
        EXPECT_TRUE(dbase::Table::open(m_fichero, {}).ok()); // what a program says once of its share
    }
    ~AvisoDeTabla()
    {
        driver::filecalls::behaveAs(driver::filecalls::Share::local);
        driver::filecalls::unwatch();
    }
    AvisoDeTabla(const AvisoDeTabla &) = delete;
    AvisoDeTabla &operator=(const AvisoDeTabla &) = delete;

    /// Sees to it that the next look at the file finds the disk full. @param tabla  not being edited, on a
    /// line; its lines stay as they are.
    void prepara(dataset::DataSet &tabla) const
    {
        namespace filecalls = driver::filecalls;
        for (const char *const texto : {"Otro", "Poder"}) {
            tabla.edit(dataset::EditOf::fresh); // something that the journal keeps
            tabla.field(u"OFICIAL").setText(QString::fromLatin1(texto));
            tabla.post();
        }
        filecalls::passTime(std::chrono::seconds(10));
        tabla.refresh();
        std::fstream otroPrograma(m_fichero, std::ios::in | std::ios::out | std::ios::binary);
        otroPrograma.seekp(1); // the day of the last change
        otroPrograma.put(static_cast<char>(99));
        otroPrograma.close();
        EXPECT_TRUE(otroPrograma.good());
        filecalls::passTime(std::chrono::seconds(10));
        filecalls::fail(filecalls::Fault{filecalls::Call::write, 1, ENOSPC, false, false});
    }
    /// The table finds it now.
    void descubre(dataset::DataSet &tabla) const
    {
        prepara(tabla);
        tabla.refresh();
        EXPECT_TRUE(driver::filecalls::faultMet());
    }
    [[nodiscard]] static QString texto(const QString &tabla, const QString &alias)
    {
        return QStringLiteral("%1 (%2): no queda sitio en el disco").arg(tabla, alias);
    }

private:
    std::filesystem::path m_fichero;
};

} // namespace support
