// The Host's error status for object calls and the status codes of the ads-style calls.
#pragma once

#include "KdExport.h"

namespace Kdad {

/// Result of a database object call; eOk (0) is success.
enum ErrorStatus : int {
    eOk = 0,
    eNotImplementedYet = 1,
    eInvalidInput = 3,
    eNotApplicable = 5,
    eInvalidIndex = 9,
    eKeyNotFound = 13,
    eDuplicateKey = 14,
    eInvalidKey = 15,
    eNullObjectId = 20,
    eNullObjectPointer = 21,
    eNullHandle = 22,
    eBadDxfSequence = 24,
    eInvalidDxfCode = 29,
    eIllegalReplacement = 30,
    eFileNotFound = 40,
    eFileAccessErr = 44,
    eFileSharingViolation = 45,
    eBadDwgHeader = 49,
    eFilerError = 55,
    eNotOpenForRead = 60,
    eNotOpenForWrite = 61,
    eWasErased = 80,
    eWasOpenForRead = 82,
    eWasOpenForWrite = 83,
    eWasOpenForUndo = 84,
    eWasNotifying = 85,
    eWasOpenForNotify = 86,
    eOnLockedLayer = 87,
    eNotInDatabase = 92,
    eNoDatabase = 93,
    eObjectToBeDeleted = 94,
    eInvalidDxfFile = 100,
    eWrongDatabase = 111,
    eWrongObjectType = 112,
    eInvalidSymbolTableName = 115,
    eDuplicateRecordName = 116,
    eNoActiveTransactions = 122,
    eNotTopTransaction = 123,
    eTransactionOpenWhileCommandEnded = 124,
    eInProcessOfCommitting = 125,
    eNotNewlyCreated = 126,
    eAlreadyInDb = 127,
    eCannotBeErasedByCaller = 153,
    eOutOfMemory = 600,
    eUndoNoGroupBegin = 1029,
    eNotInTransaction = 1030,
    eNoUndoMark = 1031,
};

/// A short English name of a status, for messages ("eKeyNotFound"); "eUnknown" for a value
/// that is not one of the enumerators.
TVHOST_API const char* errorStatusText(ErrorStatus es);

} // namespace Kdad

/// Status codes of the ads-style calls.
enum KdadResult : int {
    RTNORM = 5100, ///< normal completion
    RTNONE = 5000, ///< no result (Enter); also the end marker of kdutBuildList
    RTERROR = -5001,
    RTCAN = -5002,  ///< cancelled
    RTREJ = -5003,  ///< request rejected
    RTKWORD = -5005 ///< a keyword was entered
};

/// Value-type codes of result buffers built with kdutBuildList (the code given before each value).
enum KdadValueType : int {
    RTSHORT = 5003,
    RTREAL = 5001,
    RTPOINT = 5002,
    RTANG = 5004,
    RTSTR = 5005,
    RTENAME = 5006,
    RTPICKS = 5007,
    RTORINT = 5008,
    RT3DPOINT = 5009,
    RTLONG = 5010,
    RTVOID = 5014,
    RTLB = 5016,
    RTLE = 5017,
    RTDXF0 = 5020,
    RTT = 5021,
    RTNIL = 5019,
    RTLONG_PTR = 5030,
    RTINT64 = 5031,
};
