// Installation paths from the environment; the banner shows in the driver's
// help test.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "common/install_paths.h"
#include "install_config.h"
#include "test_support.h"

namespace {

class InstallPaths : public testing::Test {
protected:
    void SetUp() override
    {
        for (char const* name : {"ZENTHORAX", "ZENTHORAX_TMP", "ZENTHORAX_ETC"})
            unsetenv(name);
    }
    void TearDown() override { SetUp(); }
};

TEST_F(InstallPaths, DefaultsVariablesAndSuffixes)
{
    setenv("ZENTHORAX", "", 1);  // empty counts as unset
    setenv("ZENTHORAX_ETC", "", 1);
    // The defaults are the configured install directories.
    EXPECT_EQ(std::string(zx_lib_path()), TARVO_INSTALL_PREFIX "/lib");
    EXPECT_STREQ(zx_config_path(), TARVO_INSTALL_SYSCONFDIR);
    EXPECT_STREQ(zx_tmp_path(), TARVO_INSTALL_LOCALSTATEDIR);

    setenv("ZENTHORAX", "/srv/zx/", 1);
    EXPECT_STREQ(zx_terminfo_path(), "/srv/zx//share/terminfo");
    setenv("ZENTHORAX_ETC", "/e", 1);
    EXPECT_STREQ(zx_config_path(), "/e");
}

TEST_F(InstallPaths, OverlongValuesAreRefusedWhole)
{
    std::string const fits(1023, 'a');
    std::string const too_long(1024, 'b');
    setenv("ZENTHORAX_ETC", fits.c_str(), 1);
    EXPECT_EQ(std::string(zx_config_path()), fits);
    setenv("ZENTHORAX_ETC", too_long.c_str(), 1);
    EXPECT_STREQ(zx_config_path(), "");
    setenv("ZENTHORAX_TMP", std::string(100000, 'c').c_str(), 1);
    EXPECT_STREQ(zx_tmp_path(), "");

    // The base fits but not with its suffix.
    std::string const base = "/" + std::string(1018, 'd');
    setenv("ZENTHORAX", base.c_str(), 1);
    EXPECT_EQ(std::string(zx_lib_path()), base + "/lib");
    EXPECT_STREQ(zx_share_path(), "");
    EXPECT_STREQ(zx_terminfo_path(), "");
    EXPECT_EQ(zx_catopen("msgs", nullptr), reinterpret_cast<nl_catd>(-1));
    EXPECT_STREQ(zx_path(), base.c_str());
}

TEST_F(InstallPaths, CatalogueIsLookedForBelowTheBase)
{
    TempDir dir;
    setenv("ZENTHORAX", dir.path().c_str(), 1);
    char* buffer = zx_path();  // every call writes the one shared buffer
    EXPECT_EQ(zx_catopen("msgs", nullptr), reinterpret_cast<nl_catd>(-1));
    EXPECT_EQ(std::string(buffer), dir.path() + "/lib/nls/C/msgs.cat");
    zx_catopen("msgs", "de_DE");
    EXPECT_EQ(std::string(buffer), dir.path() + "/lib/nls/de_DE/msgs.cat");
}

}  // namespace
