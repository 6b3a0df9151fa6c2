// Runtime objects with a class descriptor, so registry entries can be checked before use.
#pragma once

#include "KdExport.h"

/// Describes one runtime class: its name and its parent class (null for the root).
class TVHOST_API KdRxClass {
public:
    constexpr KdRxClass(const wchar_t* name, const KdRxClass* parent)
        : m_name(name), m_parent(parent) {}

    const wchar_t* name() const { return m_name; }
    const KdRxClass* myParent() const { return m_parent; }
    /// True when this class is `other` or derives from it.
    bool isDerivedFrom(const KdRxClass* other) const;

private:
    const wchar_t* m_name;
    const KdRxClass* m_parent;
};

/// Root of the runtime objects kept in the system registry.
class TVHOST_API KdRxObject {
public:
    KdRxObject() = default;
    KdRxObject(const KdRxObject&) = delete;
    KdRxObject& operator=(const KdRxObject&) = delete;
    virtual ~KdRxObject();

    static const KdRxClass* desc();
    virtual const KdRxClass* isA() const { return desc(); }
    bool isKindOf(const KdRxClass* cls) const { return cls && isA()->isDerivedFrom(cls); }
};

/// Declares the class descriptor members of a runtime class.
#define KDRX_DECLARE_MEMBERS(CLASS)                                                                \
    static const KdRxClass* desc();                                                                \
    const KdRxClass* isA() const override {                                                        \
        return desc();                                                                             \
    }                                                                                              \
    static CLASS* cast(KdRxObject* obj) {                                                          \
        return obj && obj->isKindOf(desc()) ? static_cast<CLASS*>(obj) : nullptr;                  \
    }

/// Defines the class descriptor of CLASS with parent PARENT. The descriptor is a function-local
/// static, made on first use.
#define KDRX_DEFINE_MEMBERS(CLASS, PARENT)                                                         \
    const KdRxClass* CLASS::desc() {                                                               \
        static const KdRxClass s_class(L"" #CLASS, PARENT::desc());                                \
        return &s_class;                                                                           \
    }
