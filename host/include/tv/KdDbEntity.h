// Graphical entities: the shared properties (layer, colour, linetype) and the block markers.
#pragma once

#include "KdCmColor.h"
#include "KdDbObject.h"

class TVHOST_API KdDbEntity : public KdDbObject {
public:
    explicit KdDbEntity(std::string_view dxfType);
    ~KdDbEntity() override;

    /// The entity's layer; null when the layer it names is not in the layer table.
    KdDbObjectId layerId() const { return KdDbObjectId(m_layer); }
    /// The layer name as the entity stores it (also when that layer does not exist).
    KdString layer() const;
    /// eKeyNotFound for an id that is not a layer of this drawing.
    Kdad::ErrorStatus setLayer(KdDbObjectId layerId);
    Kdad::ErrorStatus setLayer(const wchar_t* layerName);
    /// The block record that owns the entity.
    KdDbObjectId blockId() const { return ownerId(); }
    KdCmColor color() const;
    int colorIndex() const;
    Kdad::ErrorStatus setColorIndex(int index);
    KdString linetype() const;
    KdDb::LineWeight lineWeight() const;
    /// True for entities in paper space (group 67 = 1).
    bool isInPaperSpace() const;

    /// The slot of the entity's layer (null when its layer is unknown); layerId() in short.
    KdDbStub* boundLayer() const { return m_layer; }

protected:
    std::unique_ptr<KdDbObjectState> saveState() const override;
    void restoreState(const KdDbObjectState& state) override;

private:
    friend struct KdDbAccess;
    KdDbStub* m_layer = nullptr;
};

/// The "BLOCK" record that opens a block definition.
class TVHOST_API KdDbBlockBegin : public KdDbEntity {
public:
    KdDbBlockBegin();
    ~KdDbBlockBegin() override;
};

/// The "ENDBLK" record that closes a block definition.
class TVHOST_API KdDbBlockEnd : public KdDbEntity {
public:
    KdDbBlockEnd();
    ~KdDbBlockEnd() override;
};

/// A block reference ("INSERT").
class TVHOST_API KdDbBlockReference : public KdDbEntity {
public:
    KdDbBlockReference();
    ~KdDbBlockReference() override;
    /// The referenced block record, looked up by the block name (group 2).
    KdDbObjectId blockTableRecord() const;
};
