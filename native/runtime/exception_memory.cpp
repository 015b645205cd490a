// Replaces the exception allocator of the statically linked GNU C++ runtime. When it is loaded, the default one
// allocates a reserve of 73 KB, which slows down the rest of the import, and nothing tells if that fails. Here the
// reserve is static.
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace {

// The runtime keeps its header right before the exception. It takes 128 bytes on 64-bit systems, fewer on 32-bit ones.
constexpr std::size_t header_size = 128;

// Used when memory runs out, one slot per exception in flight: enough for as many threads at once. The slots fit into
// the data's last page, so that loading the library maps no more memory.
struct Slot {
    alignas(std::max_align_t) std::array<std::byte, header_size + 32> memory;
    std::atomic_flag in_use;
};
constinit std::array<Slot, 8> slots = {};

void* take_slot(std::size_t size) noexcept {
    if (size > sizeof(Slot::memory)) return nullptr;
    for (Slot& slot : slots)
        if (!slot.in_use.test_and_set(std::memory_order_acquire)) return slot.memory.data();
    return nullptr;
}

// Returns false if the memory is not a slot.
bool return_slot(const void* memory) noexcept {
    for (Slot& slot : slots) {
        if (memory != slot.memory.data()) continue;
        slot.in_use.clear(std::memory_order_release);
        return true;
    }
    return false;
}

}  // namespace

// NOLINTBEGIN: the runtime's own names
extern "C" {
void* __cxa_allocate_exception(std::size_t size) noexcept {
    size += header_size;
    void* memory = std::malloc(size);
    if (memory == nullptr) memory = take_slot(size);
    if (memory == nullptr) std::terminate();
    std::memset(memory, 0, header_size);
    return static_cast<std::byte*>(memory) + header_size;
}

void __cxa_free_exception(void* exception) noexcept {
    void* memory = static_cast<std::byte*>(exception) - header_size;
    if (!return_slot(memory)) std::free(memory);
}
}
// NOLINTEND
