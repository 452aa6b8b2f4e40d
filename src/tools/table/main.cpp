#include "tools/table/verbs.h"

int main(int argc, char **argv)
{
    runCompanion(table::companion, argc, argv);
}
