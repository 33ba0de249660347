// The least that a program with a window does; the application's start is measured against it.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QMainWindow window;
    window.resize(900, 600);
    window.show();
    return QApplication::exec();
}
