// Xrecords: a result-buffer list of any data kept under a dictionary key.
#pragma once

#include "KdDbObject.h"

class TVHOST_API KdDbXrecord : public KdDbObject {
public:
    KdDbXrecord();
    ~KdDbXrecord() override;
    /// The data as a result-buffer list (caller releases); null for an empty xrecord.
    Kdad::ErrorStatus rbChain(resbuf** chain) const;
    resbuf* rbChain() const;
    /// Replaces the data; eInvalidDxfCode for a code that cannot be stored in an xrecord.
    Kdad::ErrorStatus setFromRbChain(const resbuf* chain);
    /// The cloning rule (group 280).
    int mergeStyle() const;
};
