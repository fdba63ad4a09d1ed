#include "platform/kernel/interface/status.h"

#include <cerrno>

const char* MSK_ReturnStatusToString(MSK_ReturnStatus status) {
    switch (status) {
        case Kernel::kStatusSuccess:
            return "Success";
        case Kernel::kStatusFailure:
            return "Failure";
        case Kernel::kStatusNotFound:
            return "Not found; create the group with \"sentrelctl group ensure\"";
        case Kernel::kStatusBadParameter:
            return "Bad parameter";
        case Kernel::kStatusNoPermission:
            return "Permission denied; run the daemon as root, or set SENTREL_CGROUP_ROOT to a "
                   "cgroup that its user can write to";
        case Kernel::kStatusOutOfMemory:
            return "Out of memory";
        case Kernel::kStatusNoDescriptors:
            return "Too many open files; raise the daemon's limit of open files";
        case Kernel::kStatusNotSupported:
            return "Not supported by the running kernel";
        default:
            return "Unknown status";
    }
}

namespace Kernel {

MSK_ReturnStatus StatusOfError(int error) {
    switch (error) {
        case 0:
            return kStatusSuccess;
        case ENOENT:
        case ESRCH:
            return kStatusNotFound;
        case EINVAL:
        case E2BIG:
        case EFAULT:
            return kStatusBadParameter;
        case EACCES:
        case EPERM:
        case EROFS:
            return kStatusNoPermission;
        case ENOMEM:
            return kStatusOutOfMemory;
        case EMFILE:
        case ENFILE:
            return kStatusNoDescriptors;
        case ENOSYS:
        case EOPNOTSUPP:
            return kStatusNotSupported;
        default:
            return kStatusFailure;
    }
}

}  // namespace Kernel
