// Placeholder: being written.
#include "nc/nc/NCCycleDefinition.h"
