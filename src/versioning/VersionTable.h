#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace quorel {

/// A T for every version of a tree, by the version's index; T() where nothing was written.
/// Cost:       O(1) an access; memory only for the neighbourhoods (512 versions) of what was written.
template <class T>
class VersionTable {
public:
  T read(std::uint32_t index) const {
    const std::size_t page = index / pageSize;
    return page < pages.size() && pages[page] ? (*pages[page])[index % pageSize] : T();
  }

  T& write(std::uint32_t index) {
    const std::size_t page = index / pageSize;
    if (page >= pages.size()) pages.resize(page + 1);
    if (!pages[page]) pages[page] = std::make_unique<Page>();
    return (*pages[page])[index % pageSize];
  }

  void clear() { pages.clear(); }

private:
  static constexpr std::size_t pageSize = 512;
  using Page = std::array<T, pageSize>;

  std::vector<std::unique_ptr<Page>> pages;
};

}  // namespace quorel
