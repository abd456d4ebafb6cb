#include "Platform/SystemTypefaces.h"

#include <fontconfig/fontconfig.h>

void readSystemTypefaces()
{
    // Where it fails, Qt tries again and says so.
    (void)FcInit();
}
