// What the spoilt hosts take from the SDK: compiled once for all of them.
#pragma once

#include "host/core/activitynotifier.h"
#include "host/core/basicloyaltysystem.h"
#include "host/core/dialog.h"
#include "host/core/document.h"
#include "host/network/restclient.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"
#include "host/utils/config.h"
#include "host/utils/currenttime.h"
