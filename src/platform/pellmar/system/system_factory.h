// Creates system objects: file handles, file writers and server sockets.
#pragma once

#include "platform/pellmar/system/file.h"
#include "platform/pellmar/system/server_socket.h"

#include <string>

namespace Pellmar::System {

class SystemFactory {
  public:
    // A handle for `path`, whether or not it exists.
    static Ref<File> GetFile(const std::string& path);
    // A writer for a new, empty file at `path`; `flag` is 0. Throws IOException.
    static Ref<FileWriter> CreateFileWriter(const std::string& path, int flag);
    // A socket that does not listen yet.
    static Ref<ServerSocket> CreateServerSocket();
};

}  // namespace Pellmar::System
