#include <set>
#include <string>

#include "converter_test.h"

namespace {

class CommandTable : public ::testing::Test {
protected:
    void SetUp() override
    {
        debug = 0;
        hash_setup();
    }
};

TEST_F(CommandTable, HashFiguresAndLookup)
{
    // The set-up trace gives the table's size, the hash parameters and the
    // number of rows sharing a bucket.
    debug = 2;
    std::string const out = capture_stdout([] { hash_setup(); });
    debug = 0;
    EXPECT_EQ(out.rfind("hash: cnt = 106, fnv_x = 7, hash_size = 128, mask = 0x7f\n", 0), 0u);
    EXPECT_NE(out.find("hash: [42] &lX\n"), std::string::npos);  // 0x19606B95 folded to seven bits
    EXPECT_NE(out.find("\nhash: syn cnt = 30\n"), std::string::npos) << out;

    // Repeating the set-up rebuilds the same chains; every row is found,
    // keys are unique and case-sensitive, later rows come first in a bucket.
    std::set<std::string> keys;
    for (int i = 0; intlist[i].key != nullptr; ++i) {
        EXPECT_EQ(hash_lookup(intlist[i].key), &intlist[i]) << intlist[i].key;
        keys.insert(intlist[i].key);
    }
    EXPECT_EQ(keys.size(), 106u);
    for (char const* k : {"&LO", "&lo", "&lY", "", "&lOO"})
        EXPECT_EQ(hash_lookup(k), nullptr) << k;
    for (unsigned b = 0; b < hash_max_buckets; ++b)
        for (pcl_cmd* r = hash_buckets[b]; r != nullptr && r->next != nullptr; r = r->next)
            EXPECT_GT(r, r->next);
}

TEST_F(CommandTable, LookupAgreesWithTheRowsForEveryThreeCharacterKey)
{
    // Parameterized, group and terminator characters in and around the
    // ranges the lookup indexes directly, each compared with a plain search
    // of the rows.
    auto search = [](char const* key) -> pcl_cmd* {
        for (int i = 0; intlist[i].key != nullptr; ++i)
            if (std::string(intlist[i].key) == key)
                return &intlist[i];
        return nullptr;
    };
    int found = 0;
    for (char p : {'&', '*', '(', ')', '%', '\'', '+', '\x1b'})
        for (int g = 0x20; g < 0x80; ++g)
            for (int f = 0x20; f < 0x80; ++f) {
                char const key[4] = {p, static_cast<char>(g), static_cast<char>(f), '\0'};
                pcl_cmd* row = hash_lookup(key);
                ASSERT_EQ(row, search(key)) << key;
                found += row != nullptr;
            }
    EXPECT_EQ(found, 106);
    // A key with a fourth character is none, even where its first three are one.
    EXPECT_EQ(hash_lookup("*pXY"), nullptr);
    EXPECT_EQ(hash_lookup("*p"), nullptr);
}

}  // namespace
