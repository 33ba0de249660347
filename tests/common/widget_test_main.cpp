#include "common/test_main.h"

#include <QApplication>

int main(int argc, char **argv)
{
    return runTests<QApplication>(argc, argv);
}
