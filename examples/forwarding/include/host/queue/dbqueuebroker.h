#pragma once

#include <pos/dbqueuebroker.h>
