// Status codes of the kernel information interface and their texts.
#pragma once

#include <cstdint>

// The interface's own names.
// NOLINTBEGIN(readability-identifier-naming)

// 0 is success; any other value is an error.
using MSK_ReturnStatus = std::int32_t;

// A short text for messages, including what to do; never null, never freed. "Unknown status" for an
// unknown code.
const char* MSK_ReturnStatusToString(MSK_ReturnStatus status);

// NOLINTEND(readability-identifier-naming)

namespace Kernel {

inline constexpr MSK_ReturnStatus kStatusSuccess = 0;
inline constexpr MSK_ReturnStatus kStatusFailure = 0x0BAD0001;       // any other failure
inline constexpr MSK_ReturnStatus kStatusNotFound = 0x0BAD0003;      // no such group
inline constexpr MSK_ReturnStatus kStatusBadParameter = 0x0BAD0007;  // the caller's mistake
inline constexpr MSK_ReturnStatus kStatusNoPermission = 0x0BAD000F;
inline constexpr MSK_ReturnStatus kStatusOutOfMemory = 0x0BAD0014;
inline constexpr MSK_ReturnStatus kStatusNoDescriptors = 0x0BAD001A;  // of process or system
inline constexpr MSK_ReturnStatus kStatusNotSupported = 0x0BAD0021;   // by the running kernel

// Converts a system error number; 0 becomes kStatusSuccess.
MSK_ReturnStatus StatusOfError(int error);

}  // namespace Kernel
