#pragma once

#include <sys/types.h>

#include <string>
