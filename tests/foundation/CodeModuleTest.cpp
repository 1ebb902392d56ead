#include "foundation/CodeModule.h"

#include "foundation/Exceptions.h"

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <typeinfo>
#include <vector>

namespace fs = std::filesystem;
using namespace NSCorbelan;
using namespace NSCorbelan::NSCorbelanInternal;
using NSTesting::CEnvironment;
using NSTesting::CTempFolder;

namespace
{
const fs::path kNotALibrary =
    fs::path(BRASSFOLD_TEST_DATA_DIR) / "foundation/NotALibrary.kinvarcodec";

struct TLoadFailure
{
    const char* fLabel;
    std::function<fs::path(const CTempFolder&)> fModule;
    const std::type_info& fExpected;
    const char* fNamed = ""; // a text the failure must name
};

TEST(CodeModule, LoadFailuresSayWhatWentWrong)
{
    const std::vector<TLoadFailure> cases = {
        {"missing file", [](const CTempFolder& t) { return t / "Absent.kinvarcodec"; },
         typeid(NSException::XFailedLoadingDLL)},
        {"a folder", [](const CTempFolder& t) { return t.MakeFolder("Folder.kinvarcodec"); },
         typeid(NSException::XFailedLoadingDLL)},
        {"missing dependency",
         [](const CTempFolder&) { return fs::path(BRASSFOLD_MISSING_DEPENDENCY_MODULE); },
         typeid(NSException::XFailedLoadingDLLDependants), "libbfvanishing.so"},
        {"undefined symbol",
         [](const CTempFolder&) { return fs::path(BRASSFOLD_UNDEFINED_SYMBOL_MODULE); },
         typeid(NSException::XFailedLoadingDLLDependants)},
        {"text file named like a library", [](const CTempFolder&) { return kNotALibrary; },
         typeid(NSException::XBadFormat)},
        {"empty file", [](const CTempFolder& t) { return t.Write("Empty.kinvarcodec"); },
         typeid(NSException::XBadFormat)},
    };
    CTempFolder tree;
    for (const TLoadFailure& c : cases)
    {
        CDLLLoader loader(c.fModule(tree));
        try
        {
            loader.IDLLLoaderImp_Open();
            ADD_FAILURE() << c.fLabel << ": loaded";
        }
        catch (const std::exception& e)
        {
            EXPECT_EQ(typeid(e), c.fExpected) << c.fLabel << ": " << e.what();
            EXPECT_FALSE(loader.GetFailureText().empty()) << c.fLabel;
            EXPECT_NE(loader.GetFailureText().find(c.fNamed), std::string::npos) << loader.GetFailureText();
        }
    }
}

} // namespace
