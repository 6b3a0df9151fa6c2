// One column of the layer lists as the settings keep it: value names, title, position, width.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tv {

struct TvColumnRecord {
    std::wstring widthValueName; ///< registry value holding the width ("NameWidth")
    std::wstring orderValueName; ///< registry value holding the position ("NameIndex")
    std::wstring title;          ///< the heading, from the string table
    int32_t index = 0;           ///< display position, 0 = leftmost
    int32_t width = 0;           ///< pixels

    bool operator==(const TvColumnRecord&) const = default;
};

/// The columns of one layer list: 12 in model space, 13 in paper space.
using TvColumnSet = std::vector<TvColumnRecord>;

} // namespace tv
