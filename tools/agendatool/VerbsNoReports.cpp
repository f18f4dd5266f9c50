// In place of the printed sheets where the program is built without what they need.

#include "tools/agendatool/Verbs.h"

namespace agendatool
{

namespace
{

int notBuilt(const Context &context)
{
    return context.fail(
        {dbase::ErrorKind::unsupported, "este programa se ha construido sin la impresión de hojas"});
}

} // namespace

int printDay(const Context &context)
{
    return notBuilt(context);
}

int printWeek(const Context &context)
{
    return notBuilt(context);
}

} // namespace agendatool
