#include "platform/pellmar/system/system_factory.h"

namespace Pellmar::System {

Ref<File> SystemFactory::GetFile(const std::string& path) { return MakeRef<File>(path); }

Ref<FileWriter> SystemFactory::CreateFileWriter(const std::string& path, int /*flag*/) {
    return MakeRef<FileWriter>(path);
}

Ref<ServerSocket> SystemFactory::CreateServerSocket() { return MakeRef<ServerSocket>(); }

}  // namespace Pellmar::System
