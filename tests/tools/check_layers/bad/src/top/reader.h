#pragma once

#include <outer/library.h>
#include "base/number.h"
