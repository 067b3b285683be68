#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace vela::db {

class DbObject;

/// Handle to object lookup in constant time. Handles of a drawing are mostly dense (we hand them out one by
/// one and files do the same), so they index pages of a direct table; the rare handle far above the rest goes to
/// a hash map instead of growing the table.
class HandleMap {
public:
    DbObject* find(std::uint64_t handle) const {
        const std::uint64_t page = handle >> kPageBits;
        if (page < pages_.size()) {
            const Page* p = pages_[page].get();
            return p ? (*p)[handle & kPageMask] : nullptr;
        }
        if (sparse_.empty()) return nullptr;
        auto it = sparse_.find(handle);
        return it == sparse_.end() ? nullptr : it->second;
    }

    /// Stores `object` under `handle`, replacing nothing: the caller makes sure the handle is free.
    void insert(std::uint64_t handle, DbObject* object) {
        const std::uint64_t page = handle >> kPageBits;
        if (page < kMaxPages) {
            if (page >= pages_.size()) pages_.resize(page + 1);
            auto& p = pages_[page];
            if (!p) p = std::make_unique<Page>(), p->fill(nullptr);
            (*p)[handle & kPageMask] = object;
        } else {
            sparse_[handle] = object;
        }
        ++size_;
    }

    std::size_t size() const { return size_; }

    /// Calls f(DbObject*) for every stored object, in handle order for the dense part.
    template <class F>
    void forEach(F&& f) const {
        for (const auto& p : pages_)
            if (p)
                for (DbObject* o : *p)
                    if (o) f(o);
        for (const auto& [h, o] : sparse_) f(o);
    }

private:
    static constexpr unsigned kPageBits = 12;
    static constexpr std::uint64_t kPageMask = (std::uint64_t(1) << kPageBits) - 1;
    // 2^20 pages of 4096 handles: handles below 2^32 are direct; the page directory stays under 8 MB.
    static constexpr std::uint64_t kMaxPages = std::uint64_t(1) << 20;
    using Page = std::array<DbObject*, std::size_t(1) << kPageBits>;

    std::vector<std::unique_ptr<Page>> pages_;
    std::unordered_map<std::uint64_t, DbObject*> sparse_;
    std::size_t size_ = 0;
};

}  // namespace vela::db
