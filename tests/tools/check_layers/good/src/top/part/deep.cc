#include "base/number.h"
#include "top/inner/reader.h"
