#include "top/inner/reader.h"

#include <outer/library.h>
