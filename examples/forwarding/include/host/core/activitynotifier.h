#pragma once

#include "host/core/names.h"
#include <pos/activitynotifier.h>
