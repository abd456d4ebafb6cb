// The least window that a Qt program can have: what the start of Tarrow is compared with. It lies
// where the console would.

#include <QApplication>
#include <QMainWindow>
#include <QScreen>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QMainWindow window;
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    window.setGeometry(screen.right() - 339, screen.top(), 340, 400);
    window.show();
    return QApplication::exec();
}
