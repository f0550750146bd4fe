#pragma once

#include <pos/singleton.h>
