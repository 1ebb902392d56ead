// A program that links the diagnostic hooks the way every Brassfold program
// does, then traces and fails an assertion. The foundation tests run it as a
// child process and read its standard error.

#include "foundation/Assert.h"

int main()
{
    BF_TRACE("probe trace %d", 42);
    BF_ASSERT(1 + 1 == 3);
    BF_TRACE("probe goes on");
    return 0;
}
