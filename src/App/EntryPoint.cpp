#include "App/AppDelegate.h"
#include "Platform/TerminationSignals.h"
#include "Support/ControlLog.h"
#include "Support/SystemPreferences.h"

#include <QApplication>
#include <QTimer>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    installLogOutput();
    ignoreBrokenPipes();

    QApplication application(argc, argv);
    QApplication::setApplicationName(u"Tarrow"_s);
    QApplication::setApplicationVersion(QStringLiteral(TARROW_VERSION));
    QApplication::setDesktopFileName(u"com.quillfen.tarrow"_s);
    QApplication::setQuitOnLastWindowClosed(true);

    // Where the program's own modules lie once it is installed.
    QApplication::addLibraryPath(QApplication::applicationDirPath() + u"/../lib/tarrow"_s);

    SystemPreferences preferences;
    AppDelegate delegate(preferences);
    const TerminationSignals terminationSignals([] { QApplication::quit(); });
    QObject::connect(&application, &QApplication::aboutToQuit, &application,
        [&delegate] { delegate.applicationWillTerminate(); });
    QTimer::singleShot(0, &application, [&delegate] { delegate.applicationDidFinishLaunching(); });
    return QApplication::exec();
}
