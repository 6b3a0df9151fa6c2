// Names of the Host's error status values, for messages.
#include "tv/KdadStatus.h"

namespace Kdad {

const char* errorStatusText(ErrorStatus es) {
#define KD_STATUS_NAME(name)                                                                       \
    case name:                                                                                     \
        return #name;
    switch (es) {
        KD_STATUS_NAME(eOk)
        KD_STATUS_NAME(eNotImplementedYet)
        KD_STATUS_NAME(eInvalidInput)
        KD_STATUS_NAME(eNotApplicable)
        KD_STATUS_NAME(eInvalidIndex)
        KD_STATUS_NAME(eKeyNotFound)
        KD_STATUS_NAME(eDuplicateKey)
        KD_STATUS_NAME(eInvalidKey)
        KD_STATUS_NAME(eNullObjectId)
        KD_STATUS_NAME(eNullObjectPointer)
        KD_STATUS_NAME(eNullHandle)
        KD_STATUS_NAME(eBadDxfSequence)
        KD_STATUS_NAME(eInvalidDxfCode)
        KD_STATUS_NAME(eIllegalReplacement)
        KD_STATUS_NAME(eFileNotFound)
        KD_STATUS_NAME(eFileAccessErr)
        KD_STATUS_NAME(eFileSharingViolation)
        KD_STATUS_NAME(eBadDwgHeader)
        KD_STATUS_NAME(eFilerError)
        KD_STATUS_NAME(eNotOpenForRead)
        KD_STATUS_NAME(eNotOpenForWrite)
        KD_STATUS_NAME(eWasErased)
        KD_STATUS_NAME(eWasOpenForRead)
        KD_STATUS_NAME(eWasOpenForWrite)
        KD_STATUS_NAME(eWasOpenForUndo)
        KD_STATUS_NAME(eWasNotifying)
        KD_STATUS_NAME(eWasOpenForNotify)
        KD_STATUS_NAME(eOnLockedLayer)
        KD_STATUS_NAME(eNotInDatabase)
        KD_STATUS_NAME(eNoDatabase)
        KD_STATUS_NAME(eObjectToBeDeleted)
        KD_STATUS_NAME(eInvalidDxfFile)
        KD_STATUS_NAME(eWrongDatabase)
        KD_STATUS_NAME(eWrongObjectType)
        KD_STATUS_NAME(eInvalidSymbolTableName)
        KD_STATUS_NAME(eDuplicateRecordName)
        KD_STATUS_NAME(eNoActiveTransactions)
        KD_STATUS_NAME(eNotTopTransaction)
        KD_STATUS_NAME(eTransactionOpenWhileCommandEnded)
        KD_STATUS_NAME(eInProcessOfCommitting)
        KD_STATUS_NAME(eNotNewlyCreated)
        KD_STATUS_NAME(eAlreadyInDb)
        KD_STATUS_NAME(eCannotBeErasedByCaller)
        KD_STATUS_NAME(eOutOfMemory)
        KD_STATUS_NAME(eUndoNoGroupBegin)
        KD_STATUS_NAME(eNotInTransaction)
        KD_STATUS_NAME(eNoUndoMark)
    }
#undef KD_STATUS_NAME
    return "eUnknown";
}

} // namespace Kdad
