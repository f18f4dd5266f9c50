// Leaving a table while the disk fails: it is told, or logged where nobody is left to be told.

#include "dataset/DatabaseError.h"
#include "tests/dataset/Tables.h"
#include "tests/driver/FileCalls.h"

#include <cerrno>

namespace
{

using namespace dataset;
using namespace support;
namespace filecalls = driver::filecalls;

QStringList &logged()
{
    static QStringList lines;
    return lines;
}

class Closing : public testing::Test
{
protected:
    Closing()
    {
        filecalls::watch(shared.file().parent_path(), false);
        table = shared.opened();
        addLine(*table, day(1), "09:00", "firma");
        logged().clear();
        m_before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { logged() << text; });
        filecalls::fail(filecalls::Fault{filecalls::Call::flush, 1, EIO, false, false});
    }
    ~Closing() override
    {
        qInstallMessageHandler(m_before);
        filecalls::unwatch();
    }
    SharedTable shared;
    std::unique_ptr<DbfTable> table;

private:
    QtMessageHandler m_before = nullptr;
};

TEST_F(Closing, IsToldWhenTheDiskFails)
{
    try {
        table->close();
        ADD_FAILURE() << "a flush that failed was kept back";
    } catch (const EDatabaseError &error) {
        EXPECT_EQ(error.kind(), dbase::ErrorKind::inputOutput);
    }
    EXPECT_TRUE(filecalls::faultMet());
    EXPECT_FALSE(table->isActive()) << "closed all the same";
    EXPECT_NO_THROW(table->close());
    filecalls::fail({});
    table->open();
    EXPECT_EQ(concept_(*table), "firma");
    EXPECT_EQ(table->takeNotice(), QString());
}

TEST_F(Closing, IsLoggedWhenNobodyIsLeftToBeTold)
{
    table.reset();
    EXPECT_TRUE(filecalls::faultMet());
    EXPECT_EQ(logged().size(), 1) << logged().join("; ").toStdString();
    EXPECT_TRUE(logged().join("").startsWith("A table could not be closed cleanly: "));
}

} // namespace
