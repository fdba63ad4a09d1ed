#pragma once

#include <outer/library.h>
#include <unknown/library.h>
#include "number.h"
#include "top/reader.h"
