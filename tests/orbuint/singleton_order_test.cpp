#include "orbuint/orbuintResHandler.h"
#include "orbuint/orbuintSingletonOrder.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuutilObjectManager.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

// The order of destruction, told by the order in which the blocks that hold the singletons are freed.
static constinit const void* watched[2] = {};
static constinit int freed[2] = {};
static constinit int frees = 0;

static void release(void* block) {
    for (int i = 0; i < 2; ++i) {
        const auto* const begin = static_cast<const char*>(block);
        // A singleton holds its object right behind its own pointer to virtual operations.
        if (block != nullptr && watched[i] != nullptr && begin + sizeof(void*) == watched[i]) {
            freed[i] = ++frees;
        }
    }
    std::free(block);
}

void* operator new(std::size_t size) {
    void* const block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }

namespace {

TEST(SingletonOrder, DestroysTheLogBeforeTheStringResources) {
    COrbuUtilObjectManagerManager::cleanup();
    COrbuIntSingletonOrder();
    COrbuIntSingletonOrder(); // a second one finds them made
    watched[0] = OrbuLogger::instance_m();
    watched[1] = COrbuIntResHandler::instance();
    COrbuUtilObjectManagerManager::cleanup();
    watched[0] = watched[1] = nullptr;
    EXPECT_THAT(freed, testing::ElementsAre(1, 2));
}

} // namespace
