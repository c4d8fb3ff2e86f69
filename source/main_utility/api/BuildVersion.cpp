// Alone in its file, so that nothing else is compiled anew for the date.
#include "main_utility/api/BuildVersion.h"

const char BUILD_DATE[] = __DATE__;
