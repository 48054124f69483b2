// The ids of the texts in intake.<language>.rc.
#pragma once

enum EMessage : unsigned
{
    kStarted = 30000,
    kStopped,
    kStatus,
    kDone,
    kDoneBefore,
    kRefused,
    kPutOff,
    kFolderUnusable,
    kFieldsMissing,
    kNoTime,
    kNoQuantity,
    kNameUsedBefore
};
