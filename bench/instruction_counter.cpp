// A plugin of the emulator qemu-aarch64 that counts the instructions of the emulated program and
// prints "instructions: N" on standard error when it ends. Started by bench/instructions.
//
// The declarations are those of the emulator's plugin interface (its manual, "TCG Plugins"), whose
// header Debian does not package. PLUGIN_INTERFACE is the interface's version: 1 before QEMU 9,
// 2 from then on.
#include <cstddef>
#include <cstdint>
#include <cstdio>

extern "C" {

struct qemu_plugin_tb;
using PluginId = std::uint64_t;
using BlockTranslated = void (*)(PluginId, qemu_plugin_tb*);
using BlockExecuted = void (*)(unsigned cpu, void* data);
using Ended = void (*)(PluginId, void* data);

std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_tb_trans_cb(PluginId id, BlockTranslated callback);
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb* block, BlockExecuted callback, int flags,
                                          void* data);
void qemu_plugin_register_atexit_cb(PluginId id, Ended callback, void* data);

extern __attribute__((visibility("default"))) const int qemu_plugin_version;
__attribute__((visibility("default"))) int qemu_plugin_install(PluginId id, const void* info,
                                                               int argc, char** argv);
}

namespace {

constexpr int kNoRegisters = 0;  // the callback looks at none
std::uint64_t counted = 0;       // the measured programs have one thread that does the work

void count(unsigned, void* instructions) {
    counted += reinterpret_cast<std::uintptr_t>(instructions);
}

void countBlock(PluginId, qemu_plugin_tb* block) {
    auto* const instructions = reinterpret_cast<void*>(qemu_plugin_tb_n_insns(block));
    qemu_plugin_register_vcpu_tb_exec_cb(block, count, kNoRegisters, instructions);
}

void print(PluginId, void*) {
    (void)std::fprintf(stderr, "instructions: %llu\n", static_cast<unsigned long long>(counted));
}

}  // namespace

const int qemu_plugin_version = PLUGIN_INTERFACE;

int qemu_plugin_install(PluginId id, const void*, int, char**) {
    qemu_plugin_register_vcpu_tb_trans_cb(id, countBlock);
    qemu_plugin_register_atexit_cb(id, print, nullptr);
    return 0;
}
