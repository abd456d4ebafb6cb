// The least that a Qt program with widgets can be: what the start of Tarrow is compared with.

#include <QApplication>
#include <QTimer>

#include <cstdio>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QTimer::singleShot(0, &application, [] {
        std::fputs("running\n", stderr);
        QApplication::quit();
    });
    return QApplication::exec();
}
