// The workbench: everything it does is the run behaviour's, on Qt.

#include "gui/QtWorkbench.h"

int main(int argc, char** argv)
{
    return RunQtWorkbench(argc, argv);
}
