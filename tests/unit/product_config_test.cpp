// The product configuration leaves neither memory nor descriptors behind; what its keys fill are rows
// (rows/product.rows).
#include "tests/unit/common.h"

/** The lowest free descriptor and the bytes of the heap, after files of each kind so many times. */
static std::pair<int, size_t> after_loading(int times) {
    const char path[] = "/tmp/kor-product-cfg.json";
    for (int i = 0; i < times; i++)
        for (const char *text : { "", "{", R"({"Version":"v"})", R"({"ProductParameters":{"ModelName":"m"}})" })
            fake_reset(), put_file(path, text), vesk_load_platform_config();
    unlink(path);
    const int free = dup(0);
    close(free);
    return { free, mallinfo2().uordblks };
}

TEST(ProductConfig, LeavesNothingBehind) {
    const auto before = after_loading(2), after = after_loading(50);
    EXPECT_EQ(after.first, before.first);
    EXPECT_LT(after.second, before.second + 4096);
}
