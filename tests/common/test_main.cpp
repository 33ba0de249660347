#include "common/test_main.h"

#include <QGuiApplication>

int main(int argc, char **argv)
{
    return runTests<QGuiApplication>(argc, argv);
}
