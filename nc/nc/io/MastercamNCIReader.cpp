// Placeholder: being written.
#include "nc/nc/io/MastercamNCIReader.h"
