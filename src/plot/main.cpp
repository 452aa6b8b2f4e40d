#include "plot/verbs.h"

int main(int argc, char **argv)
{
    runCompanion(plot::companion, argc, argv);
}
