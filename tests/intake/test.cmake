set(testLabel threads)
