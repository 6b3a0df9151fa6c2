// Layer filters: property filters defined by an expression and group filters holding layers.
#pragma once

#include "KdDbObjectId.h"
#include "KdExport.h"
#include "KdString.h"
#include "KdadStatus.h"

#include <memory>
#include <vector>

class KdDbLayerTableRecord;
class KdLyFilterExpression;
class KdLyLayerFilterManager;

/// A property filter: a name, nested filters and an expression that decides which layers it
/// admits.
///
/// Expressions are clauses `FIELD=="value"` joined by AND and OR (AND binds tighter), with
/// parentheses and blanks allowed anywhere between tokens. Field words (case ignored):
/// NAME, LINETYPE, PLOTSTYLENAME, DESCRIPTION (wild-card patterns, see kdutWcMatch),
/// USED, OFF, ON, FROZEN, LOCKED, PLOTTABLE, NEWVPFROZEN, VPFROZEN ("TRUE" or "FALSE"),
/// COLOR (an index "1".."255", a colour name, "R,G,B" or "BOOK$COLOR"),
/// LINEWEIGHT (millimetres, "-0.03" or any negative value for the default lineweight) and
/// TRANSPARENCY (percent 0..90). The empty expression admits every layer.
///
/// A filter owns its nested filters and deletes them with itself. A nested property filter
/// admits only layers that its parent admits too.
class TVHOST_API KdLyLayerFilter {
public:
    KdLyLayerFilter();
    virtual ~KdLyLayerFilter();
    KdLyLayerFilter(const KdLyLayerFilter&) = delete;
    KdLyLayerFilter& operator=(const KdLyLayerFilter&) = delete;

    const KdString& name() const { return m_name; }
    /// Renames the filter: eNotApplicable when it may not be renamed, eInvalidInput for a name
    /// that breaks the symbol-name rule, eDuplicateRecordName when another filter of the same
    /// tree has it (case ignored).
    Kdad::ErrorStatus setName(const wchar_t* name);

    /// The filter this one is nested in; null for a root or a filter not yet added.
    KdLyLayerFilter* parent() const { return m_parent; }
    /// The topmost filter of the tree this filter belongs to.
    KdLyLayerFilter* root();
    const std::vector<KdLyLayerFilter*>& getNestedFilters() const { return m_children; }
    /// Nests `filter` (the tree takes ownership). eInvalidInput for null, for a filter that
    /// already has a parent, for this filter or one of its ancestors, for a dynamically
    /// generated filter, and for a group under a property filter; eNotApplicable when this
    /// filter allows no nesting; eDuplicateRecordName when a name of the added subtree is
    /// already used in this tree.
    Kdad::ErrorStatus addNested(KdLyLayerFilter* filter);
    /// Takes `filter` out of the nested filters; the caller owns it again. eKeyNotFound when
    /// it is not nested here.
    Kdad::ErrorStatus removeNested(KdLyLayerFilter* filter);
    /// Puts `replacement` (without parent) in the place of the nested `filter`, which the
    /// caller then owns; used to convert a property filter into a group.
    Kdad::ErrorStatus replaceNested(KdLyLayerFilter* filter, KdLyLayerFilter* replacement);
    /// The filter of this tree named `name` (case ignored), or null.
    KdLyLayerFilter* findNested(const wchar_t* name);

    /// True for the filters the Host makes itself ("All", "All Used Layers"): not stored.
    virtual bool dynamicallyGenerated() const { return m_kind != Kind::kStored; }
    virtual bool allowNested() const;
    virtual bool allowRename() const { return !dynamicallyGenerated(); }
    virtual bool allowDelete() const { return !dynamicallyGenerated(); }
    /// True for group filters, which list their layers by identity.
    virtual bool isIdFilter() const { return false; }

    /// Whether the filter admits the layer. A null layer is never admitted.
    virtual bool filter(const KdDbLayerTableRecord* layer) const;

    const KdString& filterExpression() const { return m_expression; }
    /// Sets the expression. On a syntax error the filter keeps its old expression, the
    /// result is eInvalidInput and `errorMessage` (when given) says what is wrong and at which
    /// character (counted from 1). eNotApplicable for dynamically generated filters.
    Kdad::ErrorStatus setFilterExpression(const wchar_t* expression,
                                          KdString* errorMessage = nullptr);
    /// Checks an expression without setting it; eOk or eInvalidInput with the message.
    static Kdad::ErrorStatus checkExpression(const wchar_t* expression,
                                             KdString* errorMessage = nullptr);
    /// Set when the expression could not be parsed (as read from a drawing): the text is kept
    /// unchanged and the filter admits no layer.
    const KdString& expressionError() const { return m_expressionError; }

protected:
    /// Own test, without the parent's.
    virtual bool admitsSelf(const KdDbLayerTableRecord* layer) const;

private:
    // What the filter manager needs to read a drawing's filters and write them back.
    friend class KdLyLayerFilterManager;
    enum class Kind { kStored, kAll, kAllUsed };
    /// A dynamically generated filter of `kind`.
    static KdLyLayerFilter* makeGenerated(Kind kind, const wchar_t* name);
    Kind kind() const { return m_kind; }
    /// Name and expression as read from a drawing, without checks; a bad expression is kept
    /// with its error.
    void loadStored(const wchar_t* name, const wchar_t* expression);
    /// Nests without the naming and kind rules (reading a drawing); false for a cycle.
    bool adopt(KdLyLayerFilter* filter);
    /// The xrecord this filter was read from (null for a new filter).
    KdDbObjectId sourceId() const { return m_sourceId; }
    void setSourceId(KdDbObjectId id) { m_sourceId = id; }

    bool hasNameInTree(const KdLyLayerFilter* tree, const KdLyLayerFilter* except) const;
    KdString m_name;
    KdString m_expression;
    KdString m_expressionError;
    std::unique_ptr<KdLyFilterExpression> m_parsed;
    KdLyLayerFilter* m_parent = nullptr;
    std::vector<KdLyLayerFilter*> m_children;
    KdDbObjectId m_sourceId;
    Kind m_kind = Kind::kStored;
};

/// A group filter: admits the layers it lists by identity. Groups nest groups and property
/// filters.
class TVHOST_API KdLyLayerGroup : public KdLyLayerFilter {
public:
    KdLyLayerGroup();
    ~KdLyLayerGroup() override;

    bool isIdFilter() const override { return true; }
    bool allowNested() const override { return true; }

    const std::vector<KdDbObjectId>& layerIds() const { return m_layerIds; }
    /// Adds a layer; eInvalidInput for a null id, eDuplicateKey when it is listed already.
    Kdad::ErrorStatus addLayerId(KdDbObjectId id);
    /// eKeyNotFound when the layer is not listed.
    Kdad::ErrorStatus removeLayerId(KdDbObjectId id);

protected:
    bool admitsSelf(const KdDbLayerTableRecord* layer) const override;

private:
    std::vector<KdDbObjectId> m_layerIds;
};
