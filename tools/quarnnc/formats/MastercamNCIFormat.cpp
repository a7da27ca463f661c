// Placeholder: being written.
#include "tools/quarnnc/formats/FormatParts.h"
