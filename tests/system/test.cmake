set(testLabel threads)
set(testTimeout 180)
