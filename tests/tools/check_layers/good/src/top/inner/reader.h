#pragma once

#include <outer/library_fwd.hpp>

#include "base/number.h"
