// Makes a drawing the one the ads-style calls work on, for the length of a scope.
#pragma once

#include "tv/KdDbAds.h"

namespace tv {

class CurrentDrawingScope {
public:
    explicit CurrentDrawingScope(KdDbDatabase* db) : m_saved(kddbCurDwg()) {
        if (db != m_saved)
            kddbSetCurDwg(db);
    }
    ~CurrentDrawingScope() {
        if (kddbCurDwg() != m_saved)
            kddbSetCurDwg(m_saved);
    }
    CurrentDrawingScope(const CurrentDrawingScope&) = delete;
    CurrentDrawingScope& operator=(const CurrentDrawingScope&) = delete;

private:
    KdDbDatabase* m_saved;
};

} // namespace tv
