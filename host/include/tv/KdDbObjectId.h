// Identity of a database object: a stable reference to its slot in the database.
#pragma once

#include "KdDbHandle.h"
#include "KdExport.h"

#include <functional>

class KdDbDatabase;
class KdDbObject;

/// The database's slot for one object: it outlives the object's erasure and keeps its handle.
struct KdDbStub {
    KdDbDatabase* database = nullptr;
    KdDbObject* object = nullptr;
    uint64_t handle = 0;
};

class TVHOST_API KdDbObjectId {
public:
    constexpr KdDbObjectId() = default;
    constexpr explicit KdDbObjectId(KdDbStub* stub) : m_stub(stub) {}

    static const KdDbObjectId kNull;

    bool isNull() const { return m_stub == nullptr; }
    /// True when the id refers to an object of a live database (erased objects included).
    bool isValid() const { return m_stub != nullptr && m_stub->object != nullptr; }
    /// True when the object exists and is erased.
    bool isErased() const;
    KdDbHandle handle() const { return KdDbHandle(m_stub ? m_stub->handle : 0); }
    KdDbDatabase* database() const { return m_stub ? m_stub->database : nullptr; }
    KdDbStub* stub() const { return m_stub; }

    bool operator==(const KdDbObjectId& o) const { return m_stub == o.m_stub; }
    bool operator!=(const KdDbObjectId& o) const { return m_stub != o.m_stub; }
    bool operator<(const KdDbObjectId& o) const { return handle() < o.handle(); }

private:
    KdDbStub* m_stub = nullptr;
};

inline constexpr KdDbObjectId KdDbObjectId::kNull{};

template <> struct std::hash<KdDbObjectId> {
    size_t operator()(const KdDbObjectId& id) const noexcept {
        return std::hash<const void*>()(id.stub());
    }
};
