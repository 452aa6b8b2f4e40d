#include "main/banner.h"
#include "main/console.h"

void welcome()
{
    print("\n"
          "MORVEL v. %s\n"
          "User guide: docs/usage.md in the source, share/doc/morvel/usage.md where installed\n"
          "E-mail: support@morvel.example\n"
          "\n",
          programVersion);
}
