// What a table finds while it is being worked in is handed out, and only once.

#include "dataset/DatabaseError.h"
#include "tests/dataset/Tables.h"
#include "tests/driver/FileCalls.h"
#include "tests/driver/ShareModel.h"

#include <cerrno>

namespace
{

using namespace dataset;
using namespace support;
namespace filecalls = driver::filecalls;

/// So many lines in one commit that the journal has room for one such, and is emptied before the next.
void addSheet(DbfTable &table)
{
    constexpr int lines = 5000;
    CommitGroup sheet(table);
    for (int line = 0; line < lines; ++line)
        addLine(table, day(1), "09:00", "firma");
    sheet.commit();
}

/// On a share the journal's past is kept when it is emptied, and where there is no room for it work goes on.
TEST(Notices, OfTheMiddleOfAWorkingDayAreHandedOutOnce)
{
    int told = 0;
    for (int write = 1; told == 0 && write <= 20; ++write) {
        SCOPED_TRACE(write);
        SharedTable shared;
        filecalls::watch(shared.file().parent_path(), false);
        filecalls::behaveAs(filecalls::Share::smb);
        const auto table = shared.opened();
        addSheet(*table);
        static_cast<void>(table->takeNotice()); // what opening has found
        filecalls::fail(filecalls::Fault{filecalls::Call::write, write, ENOSPC, false, false});
        try {
            addSheet(*table);
        } catch (const EDatabaseError &error) {
            EXPECT_EQ(error.kind(), dbase::ErrorKind::full); // a write that work cannot go on without
        }
        filecalls::fail({});
        const QString notice = table->takeNotice();
        if (!notice.isEmpty()) {
            EXPECT_EQ(notice, "LINEAS (DB): no queda sitio en el disco");
            ++told;
        }
        EXPECT_EQ(table->takeNotice(), QString());
        table->close();
        filecalls::behaveAs(filecalls::Share::local);
        filecalls::unwatch();
    }
    EXPECT_EQ(told, 1);
}

} // namespace
