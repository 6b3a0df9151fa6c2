// A block table record: the owner of a block's entities, with its BLOCK and ENDBLK records.
#pragma once

#include "KdDbSymbolTableRecord.h"

class KdDbEntity;

class TVHOST_API KdDbBlockTableRecord : public KdDbSymbolTableRecord {
public:
    KdDbBlockTableRecord();
    ~KdDbBlockTableRecord() override;
    std::string_view subclassMarker() const override { return "AcDbBlockTableRecord"; }

    /// The layout this block belongs to (group 340), null for ordinary blocks.
    KdDbObjectId getLayoutId() const;
    Kdad::ErrorStatus setLayoutId(KdDbObjectId layoutId);
    bool isLayout() const;
    bool isAnonymous() const;
    bool isFromExternalReference() const;

    /// Appends a new entity (the block takes ownership); eNotOpenForWrite without a write open.
    Kdad::ErrorStatus appendKdDbEntity(KdDbObjectId& id, KdDbEntity* entity);
    Kdad::ErrorStatus appendKdDbEntity(KdDbEntity* entity);
    /// The entities of the block in order, erased ones included.
    const std::vector<KdDbObjectId>& entityIds() const { return m_entities; }
    /// Number of entities that are not erased.
    size_t entityCount() const;

    /// The block's BLOCK and ENDBLK entities.
    KdDbObjectId blockBeginId() const { return m_begin; }
    KdDbObjectId blockEndId() const { return m_end; }

protected:
    std::unique_ptr<KdDbObjectState> saveState() const override;
    void restoreState(const KdDbObjectState& state) override;

private:
    friend struct KdDbAccess;
    KdDbObjectId m_begin;
    KdDbObjectId m_end;
    std::vector<KdDbObjectId> m_entities;
};
