// A header that is not the first include of its .cc file is not shown to stand alone.
#include "top/other.h"
#include "top/reader.h"
