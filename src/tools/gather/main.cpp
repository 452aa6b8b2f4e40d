#include "tools/gather/command.h"
#include "tools/gather/verbs.h"

int main(int argc, char **argv)
{
    const int count = gather::takeCommand(argc, argv);
    runCompanion(gather::companion, count, argv);
}
