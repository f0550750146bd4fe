#pragma once

#include <pos/config.h>
