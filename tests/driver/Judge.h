#pragma once

#include "tests/driver/Told.h"

namespace driver
{

/// Opens the table of a folder, as any workstation would, and so repairs it; then opens it again and looks
/// closely.
/// @return what is wrong with it, or with what was told.
inline std::vector<std::string> judge(const std::filesystem::path &folder, const Told &told)
{
    for (const bool closely : {false, true}) {
        AgendaTable agenda;
        dbase::Status status = agenda.open(folder, std::chrono::milliseconds(200));
        if (status.ok() && closely)
            status = agenda.table().check();
        if (!status.ok())
            return {status.message()};
        if (const std::string notice = agenda.table().notice(); !notice.empty())
            return {"something was missing: " + notice};
        const auto contents = agenda.readAll();
        if (!contents.ok())
            return {contents.status().message()};
        if (const auto wrong = told.compare(contents.value()); !wrong.empty())
            return wrong;
        if (status = agenda.close(); !status.ok())
            return {status.message()};
    }
    return {};
}

} // namespace driver
