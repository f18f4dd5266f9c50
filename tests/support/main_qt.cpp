// main() of the test programs that open windows: no display is needed, and warnings of the headless platform
// are no news.

#include <gtest/gtest.h>

#include <QtCore/QLocale>
#include <QtGui/QFont>
#include <QtWidgets/QApplication>

namespace
{

QtMessageHandler g_before = nullptr;

void withoutPlatformNoise(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    for (const char *const noise :
         {"This plugin does not support", "QStandardPaths: XDG_RUNTIME_DIR", "Detected locale"}) {
        if (text.startsWith(QLatin1String(noise)))
            return;
    }
    g_before(type, context, text);
}

} // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Dates of the desktop: another format than the program's own locale has, so that the two are told apart.
    qunsetenv("LC_ALL");
    qputenv("LC_TIME", "en_GB.UTF-8");
    g_before = qInstallMessageHandler(withoutPlatformNoise);
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    QLocale::setDefault(QLocale(QStringLiteral("es_ES")));
    return RUN_ALL_TESTS();
}
