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
    if (!text.startsWith(QLatin1String("This plugin does not support")) &&
        !text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR")))
        g_before(type, context, text);
}

} // namespace

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    g_before = qInstallMessageHandler(withoutPlatformNoise);
    testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Arial"), 9));
    QLocale::setDefault(QLocale(QStringLiteral("es_ES")));
    return RUN_ALL_TESTS();
}
