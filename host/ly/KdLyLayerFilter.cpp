// Property and group filters: names, nesting rules, expressions and the per-layer test.
#include <tv/KdLyLayerFilter.h>

#include "KdLyFilterExpression.h"

#include <tv/KdDbLayerTableRecord.h>
#include <tv/KdDbSymbolTableRecord.h>
#include <tv/KdUtf8.h>

#include <algorithm>

KdLyLayerFilter::KdLyLayerFilter() {
    std::wstring unused;
    m_parsed = KdLyFilterExpression::parse(std::wstring(), unused);
}

KdLyLayerFilter::~KdLyLayerFilter() {
    for (KdLyLayerFilter* child : m_children)
        delete child;
}

KdLyLayerFilter* KdLyLayerFilter::makeGenerated(Kind kind, const wchar_t* name) {
    auto* f = new KdLyLayerFilter;
    f->m_kind = kind;
    f->m_name = KdString(name);
    return f;
}

KdLyLayerFilter* KdLyLayerFilter::root() {
    KdLyLayerFilter* f = this;
    while (f->m_parent)
        f = f->m_parent;
    return f;
}

bool KdLyLayerFilter::allowNested() const {
    return m_kind != Kind::kAllUsed;
}

// Whether a filter of `tree` other than `except` (and outside `except`'s subtree when it is
// given) carries this filter's name.
bool KdLyLayerFilter::hasNameInTree(const KdLyLayerFilter* tree,
                                    const KdLyLayerFilter* except) const {
    if (tree == except)
        return false;
    if (tree != this && tvEqualsNoCase(tree->m_name.str(), m_name.str()))
        return true;
    for (const KdLyLayerFilter* c : tree->m_children)
        if (hasNameInTree(c, except))
            return true;
    return false;
}

KdLyLayerFilter* KdLyLayerFilter::findNested(const wchar_t* name) {
    if (!name)
        return nullptr;
    if (tvEqualsNoCase(m_name.str(), name))
        return this;
    for (KdLyLayerFilter* c : m_children)
        if (KdLyLayerFilter* found = c->findNested(name))
            return found;
    return nullptr;
}

Kdad::ErrorStatus KdLyLayerFilter::setName(const wchar_t* name) {
    if (!allowRename())
        return Kdad::eNotApplicable;
    if (!name || !KdDbSymbolTableRecord::isValidName(name))
        return Kdad::eInvalidInput;
    KdLyLayerFilter* top = root();
    if (top != this) {
        KdLyLayerFilter* other = top->findNested(name);
        if (other && other != this)
            return Kdad::eDuplicateRecordName;
    }
    m_name = KdString(name);
    return Kdad::eOk;
}

bool KdLyLayerFilter::adopt(KdLyLayerFilter* filter) {
    if (!filter || filter == this || filter->m_parent)
        return false;
    for (KdLyLayerFilter* a = this; a; a = a->m_parent)
        if (a == filter)
            return false;
    filter->m_parent = this;
    m_children.push_back(filter);
    return true;
}

Kdad::ErrorStatus KdLyLayerFilter::addNested(KdLyLayerFilter* filter) {
    if (!filter || filter->m_parent || filter->dynamicallyGenerated())
        return Kdad::eInvalidInput;
    for (KdLyLayerFilter* a = this; a; a = a->m_parent)
        if (a == filter)
            return Kdad::eInvalidInput;
    if (!allowNested())
        return Kdad::eNotApplicable;
    // A property filter narrows the layers of its parent; a group under it would not.
    if (filter->isIdFilter() && !isIdFilter() && !dynamicallyGenerated())
        return Kdad::eInvalidInput;
    KdLyLayerFilter* top = root();
    std::vector<const KdLyLayerFilter*> pending{filter};
    while (!pending.empty()) {
        const KdLyLayerFilter* f = pending.back();
        pending.pop_back();
        if (top->findNested(f->m_name.kwszPtr()))
            return Kdad::eDuplicateRecordName;
        pending.insert(pending.end(), f->m_children.begin(), f->m_children.end());
    }
    adopt(filter);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdLyLayerFilter::removeNested(KdLyLayerFilter* filter) {
    auto it = std::find(m_children.begin(), m_children.end(), filter);
    if (!filter || it == m_children.end())
        return Kdad::eKeyNotFound;
    m_children.erase(it);
    filter->m_parent = nullptr;
    return Kdad::eOk;
}

Kdad::ErrorStatus KdLyLayerFilter::replaceNested(KdLyLayerFilter* filter,
                                                 KdLyLayerFilter* replacement) {
    auto it = std::find(m_children.begin(), m_children.end(), filter);
    if (!filter || it == m_children.end())
        return Kdad::eKeyNotFound;
    if (!replacement || replacement->m_parent || replacement == filter ||
        replacement->dynamicallyGenerated())
        return Kdad::eInvalidInput;
    for (KdLyLayerFilter* a = this; a; a = a->m_parent)
        if (a == replacement)
            return Kdad::eInvalidInput;
    *it = replacement;
    replacement->m_parent = this;
    filter->m_parent = nullptr;
    return Kdad::eOk;
}

Kdad::ErrorStatus KdLyLayerFilter::checkExpression(const wchar_t* expression,
                                                   KdString* errorMessage) {
    std::wstring error;
    auto parsed = KdLyFilterExpression::parse(expression ? expression : L"", error);
    if (errorMessage)
        *errorMessage = KdString(error);
    return parsed ? Kdad::eOk : Kdad::eInvalidInput;
}

Kdad::ErrorStatus KdLyLayerFilter::setFilterExpression(const wchar_t* expression,
                                                       KdString* errorMessage) {
    if (errorMessage)
        *errorMessage = KdString();
    if (dynamicallyGenerated() || isIdFilter())
        return Kdad::eNotApplicable;
    std::wstring text = expression ? expression : L"";
    std::wstring error;
    auto parsed = KdLyFilterExpression::parse(text, error);
    if (!parsed) {
        if (errorMessage)
            *errorMessage = KdString(error);
        return Kdad::eInvalidInput;
    }
    m_parsed = std::move(parsed);
    m_expression = KdString(std::move(text));
    m_expressionError = KdString();
    return Kdad::eOk;
}

void KdLyLayerFilter::loadStored(const wchar_t* name, const wchar_t* expression) {
    m_name = KdString(name);
    m_expression = KdString(expression);
    std::wstring error;
    m_parsed = KdLyFilterExpression::parse(m_expression.str(), error);
    m_expressionError = KdString(error);
}

bool KdLyLayerFilter::admitsSelf(const KdDbLayerTableRecord* layer) const {
    switch (m_kind) {
    case Kind::kAll:
        return true;
    case Kind::kAllUsed:
        return layer->isInUse();
    case Kind::kStored:
        break;
    }
    return m_parsed && m_parsed->admits(*layer);
}

bool KdLyLayerFilter::filter(const KdDbLayerTableRecord* layer) const {
    if (!layer || !admitsSelf(layer))
        return false;
    if (isIdFilter())
        return true;
    return !m_parent || m_parent->filter(layer);
}

// -- Groups --

KdLyLayerGroup::KdLyLayerGroup() = default;
KdLyLayerGroup::~KdLyLayerGroup() = default;

Kdad::ErrorStatus KdLyLayerGroup::addLayerId(KdDbObjectId id) {
    if (id.isNull())
        return Kdad::eInvalidInput;
    if (std::find(m_layerIds.begin(), m_layerIds.end(), id) != m_layerIds.end())
        return Kdad::eDuplicateKey;
    m_layerIds.push_back(id);
    return Kdad::eOk;
}

Kdad::ErrorStatus KdLyLayerGroup::removeLayerId(KdDbObjectId id) {
    auto it = std::find(m_layerIds.begin(), m_layerIds.end(), id);
    if (it == m_layerIds.end())
        return Kdad::eKeyNotFound;
    m_layerIds.erase(it);
    return Kdad::eOk;
}

bool KdLyLayerGroup::admitsSelf(const KdDbLayerTableRecord* layer) const {
    const KdDbObjectId id = layer->objectId();
    return std::find(m_layerIds.begin(), m_layerIds.end(), id) != m_layerIds.end();
}
