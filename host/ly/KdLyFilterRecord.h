// The stored form of one layer filter: the xrecord data of a filter and its conversion.
#pragma once

#include <tv/KdDbObjectId.h>
#include <tv/KdResbuf.h>

#include <string>
#include <vector>

namespace tvly {

/// What an xrecord of the filter dictionary says about one filter.
struct FilterRecord {
    bool group = false;
    int version = 1; // group 90
    std::wstring name;
    std::wstring expression;
    KdDbObjectId parent; // the parent's xrecord, null at the top level
    std::vector<KdDbObjectId> layers;
    // Entries this code does not know, written back after the known ones.
    KdResbufPtr extras;
};

/// Reads a filter from xrecord data; false when the data is not a filter of a known kind or
/// lacks a name.
bool decodeFilterRecord(const resbuf* data, FilterRecord& out);
/// The xrecord data of a filter, the extras appended.
KdResbufPtr encodeFilterRecord(const FilterRecord& rec);
/// Whether two records say the same (extras are not compared).
bool sameFilter(const FilterRecord& a, const FilterRecord& b);

/// Reads a filter of the older "ACAD_LAYERFILTERS" form: its name (first group 1, else the
/// key), the expression from the "ACAD" extended data when it holds one, else a NAME clause
/// from the layer-name pattern (second group 1). False when there is no usable name.
bool decodeLegacyFilter(const std::wstring& key, const resbuf* data, const resbuf* acadXData,
                        FilterRecord& out);

} // namespace tvly
