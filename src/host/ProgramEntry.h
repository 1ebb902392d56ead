#pragma once
// The order of the workbench's program entry around the toolkit's run
// operation, for the program's main(): the toolkit is made and given the
// debug channel by its adapter before, and released after.

#include "foundation/Types.h"
#include "host/RunBehavior.h"

#include <functional>
#include <memory>

// What the toolkit's run operation is given: texts of at most 255 characters.
struct TStartupParams
{
    TText16 fCompanyName;
    TText16 fApplicationName;
    TText16 fAboutItemText;
};

// "Thistlemarrow Software", "Brassfold", "About Brassfold...".
TStartupParams MakeStartupParams();

// The toolkit's run operation: it holds the user interface thread until the
// application quits, and takes the behaviour over when it returns 12000.
using TVistalRun = std::function<u32(IVistalRunBehavior* behaviour, const TStartupParams& params)>;

// Runs behaviour with run. A status other than 12000 means that the toolkit
// has not taken the behaviour over: it is destroyed here, once, and the
// status's exception thrown. Returns 0; anything thrown from here on, the
// caller's main() turns into -1 (GuardProgramEntry).
int RunWorkbench(const TVistalRun& run, std::unique_ptr<IVistalRunBehavior> behaviour);
