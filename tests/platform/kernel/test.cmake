# The test of ten thousand spawns takes some seconds, and many under a sanitizer.
set(testTimeout 180)
