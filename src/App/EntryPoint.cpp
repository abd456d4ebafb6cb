#include "App/AppDelegate.h"
#include "Platform/ProcessSetup.h"
#include "Platform/SystemTypefaces.h"
#include "Platform/TerminationSignals.h"
#include "Support/ControlLog.h"
#include "Support/SystemPreferences.h"
#include "Views/Components/ConsoleStyle.h"

#include <QApplication>
#include <QTimer>

#include <clocale>
#include <cstdlib>
#include <future>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    prepareProcess();
    installLogOutput();

    // The locale first, which the reader of the typefaces and the application share.
    std::setlocale(LC_ALL, "");
    const std::future<void> typefaces = std::async(readSystemTypefaces);
    QApplication application(argc, argv);
    typefaces.wait();
    QApplication::setApplicationName(u"Tarrow"_s);
    const QJsonObject information = informationDictionary();
    QApplication::setApplicationVersion(runningVersion(information));
    QApplication::setDesktopFileName(u"com.quillfen.tarrow"_s);
    QApplication::setQuitOnLastWindowClosed(true);
    ConsoleStyle::install();
    // Where the modules lie once installed; Qt looks beside the program by itself.
    QApplication::addLibraryPath(
        QApplication::applicationDirPath() + QStringLiteral("/" TARROW_MODULES));

    SystemPreferences preferences;
    AppDelegate delegate(preferences, information);
    const TerminationSignals terminationSignals([] { QApplication::quit(); });
    QObject::connect(&application, &QApplication::aboutToQuit, &application,
        [&delegate] { delegate.applicationWillTerminate(); });
    QTimer::singleShot(0, &application, [&delegate] { delegate.applicationDidFinishLaunching(); });
    const int exitCode = QApplication::exec();
    if (!delegate.finish())
        std::quick_exit(exitCode);
    return exitCode;
}
