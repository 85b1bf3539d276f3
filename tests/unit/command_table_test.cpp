#include <cstring>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "pcl/command_table.h"
#include "run_mode.h"
#include "test_support.h"

namespace {

int row_count()
{
    int n = 0;
    while (intlist[n].key != nullptr)
        ++n;
    return n;
}

class CommandTable : public ::testing::Test {
protected:
    void SetUp() override
    {
        debug = 0;
        hash_setup();
    }
};

TEST_F(CommandTable, TableShapeAndSizing)
{
    ASSERT_EQ(row_count(), 99);
    pcl_cmd const& end = intlist[99];
    EXPECT_EQ(end.description, nullptr);
    EXPECT_EQ(end.value_names, nullptr);
    EXPECT_EQ(end.handler, nullptr);

    std::set<std::string> keys;
    for (int i = 0; i < 99; ++i) {
        ASSERT_EQ(std::strlen(intlist[i].key), 3u) << i;
        ASSERT_NE(intlist[i].description, nullptr) << i;
        keys.insert(intlist[i].key);
    }
    EXPECT_EQ(keys.size(), 99u) << "keys must be unique";

    EXPECT_EQ(fnv_x, 7u);
    EXPECT_EQ(hash_max_buckets, 128u);
    EXPECT_EQ(fnv_mask_32, 0x7fu);
    // 0x19606B95 folded to seven bits.
    EXPECT_EQ(hash_key("&lX"), 66u);
    EXPECT_EQ(std::string(intlist[51].description), "Downoad Symbol Set");
}

TEST_F(CommandTable, LookupFindsEveryRowAndIsCaseSensitive)
{
    for (int i = 0; i < 99; ++i)
        EXPECT_EQ(hash_lookup(intlist[i].key), &intlist[i]) << intlist[i].key;
    ASSERT_NE(hash_lookup("&lO"), nullptr);
    EXPECT_STREQ(hash_lookup("&lO")->description, "Orientation");
    EXPECT_EQ(hash_lookup("&LO"), nullptr);
    EXPECT_EQ(hash_lookup("&lo"), nullptr);
    EXPECT_EQ(hash_lookup("&lY"), nullptr);
    EXPECT_EQ(hash_lookup(""), nullptr);
    EXPECT_EQ(hash_lookup("&lOO"), nullptr);

    // Within a bucket, later rows come first.
    for (unsigned b = 0; b < hash_max_buckets; ++b)
        for (pcl_cmd* r = hash_buckets[b]; r != nullptr && r->next != nullptr; r = r->next)
            EXPECT_GT(r, r->next);
}

TEST_F(CommandTable, SetUpTraceAtDebugTwo)
{
    debug = 2;
    std::string out = capture_stdout([] { hash_setup(); });
    debug = 0;

    std::string expected = "hash: cnt = 99, fnv_x = 7, hash_size = 128, mask = 0x7f\n";
    for (int i = 0; i < 99; ++i) {
        char line[32];
        std::snprintf(line, sizeof line, "hash: [%02x] %s\n", hash_key(intlist[i].key),
                      intlist[i].key);
        expected += line;
    }
    expected += "hash: syn cnt = 25\n";
    EXPECT_EQ(out, expected);
    EXPECT_NE(out.find("hash: [42] &lX\n"), std::string::npos);

    // Set-up is silent below level 2, and repeating it rebuilds the same chains.
    debug = 1;
    EXPECT_EQ(capture_stdout([] { hash_setup(); }), "");
    debug = 0;
    for (int i = 0; i < 99; ++i)
        EXPECT_EQ(hash_lookup(intlist[i].key), &intlist[i]);
}

}  // namespace
