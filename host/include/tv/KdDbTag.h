// One DXF tag as the database keeps it: group code and raw value text in the drawing's encoding.
#pragma once

#include <cstdint>
#include <string_view>

struct KdDbTag {
    const char* data = nullptr; ///< raw value bytes, not null-terminated; owned by the database
    uint32_t size = 0;
    int16_t code = 0;

    std::string_view value() const { return std::string_view(data, size); }
};
