// SPDX-License-Identifier: GPL-3.0-or-later
// The reference of START: the smallest program with a main window, linked with the same Qt
// libraries as the tool.
#include <QtWidgets/QApplication>
#include <QtWidgets/QMainWindow>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QMainWindow window;
    window.show();
    return QApplication::exec();
}
