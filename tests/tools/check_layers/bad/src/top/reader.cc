// Its header is not its first include.
#include <cstdio>
