// Namespaces of the test process's own, so that the daemon's fixed ports and the file systems that
// a test mounts meet nobody else's, and tests can run side by side. Linux ends both with the
// process.
#pragma once

namespace Test {

// Moves the calling thread, and all threads and processes that it starts later, into a network
// namespace whose only interface is loopback, up. Before the first socket and the first thread.
// Works as root and, where the kernel lets users make user namespaces, as anybody (who is root in
// there). Further calls do nothing. Throws std::system_error that says what the kernel refused.
void EnterNetworkNamespace();

// The same for mounts: what is mounted from now on is seen by this process and its children alone.
// After EnterNetworkNamespace.
void EnterMountNamespace();

}  // namespace Test
