#include "server/operative/VarContext.h"

namespace {

constexpr std::size_t kContextsPerBlock = 170;  // about one page

struct Block {
    alignas(VarContext) std::byte contexts[kContextsPerBlock][sizeof(VarContext)];
};

/// Never destroyed: contexts may be used until the process ends.
std::vector<std::unique_ptr<Block>>& blocks() {
    static auto* const all = new std::vector<std::unique_ptr<Block>>;
    return *all;
}

}  // namespace

void* VarContext::operator new(std::size_t /*size*/) {
    static std::size_t used = kContextsPerBlock;  // of the last block
    if (used == kContextsPerBlock) {
        blocks().push_back(std::make_unique<Block>());
        used = 0;
    }
    return blocks().back()->contexts[used++];
}

void VarContext::operator delete(void* /*context*/) noexcept {}
