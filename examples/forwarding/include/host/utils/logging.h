#pragma once

#include <pos/logging.h>
