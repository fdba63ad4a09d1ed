#pragma once

#include "base/number.h"
