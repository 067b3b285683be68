#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "db/handle.h"

namespace vela::tracking {

/// Values by handle in pages of a direct table, as the drawing keeps its objects: handles are mostly dense,
/// so a value is found without hashing and values of neighbouring objects lie together, which matters when a
/// command touches a hundred thousand entities in handle order. Handles far above the rest go to a hash map.
template <class T>
class HandleTable {
  public:
    T* find(db::Handle handle) {
        const std::uint64_t page = handle.value() >> kPageBits;
        if (page < pages_.size()) {
            Page* p = pages_[page].get();
            const std::size_t slot = handle.value() & kPageMask;
            return p && p->used[slot] ? &p->values[slot] : nullptr;
        }
        const auto it = sparse_.find(handle);
        return it == sparse_.end() ? nullptr : &it->second;
    }

    /// The value of the handle, and whether it was added now (default-constructed) rather than found.
    std::pair<T*, bool> tryEmplace(db::Handle handle) {
        const std::uint64_t page = handle.value() >> kPageBits;
        if (page >= kMaxPages) {
            auto [it, added] = sparse_.try_emplace(handle);
            return {&it->second, added};
        }
        if (page >= pages_.size()) pages_.resize(page + 1);
        if (!pages_[page]) pages_[page] = std::make_unique<Page>();
        Page& p = *pages_[page];
        const std::size_t slot = handle.value() & kPageMask;
        const bool added = !p.used[slot];
        if (added) p.used[slot] = true, p.values[slot] = T();
        return {&p.values[slot], added};
    }

    void clear() {
        pages_.clear();
        sparse_.clear();
    }

  private:
    static constexpr unsigned kPageBits = 10;
    static constexpr std::uint64_t kPageMask = (std::uint64_t(1) << kPageBits) - 1;
    static constexpr std::uint64_t kMaxPages = std::uint64_t(1) << 20;
    struct Page {
        std::bitset<std::size_t(1) << kPageBits> used;
        std::array<T, std::size_t(1) << kPageBits> values;
    };
    std::vector<std::unique_ptr<Page>> pages_;
    std::unordered_map<db::Handle, T> sparse_;
};

}  // namespace vela::tracking
