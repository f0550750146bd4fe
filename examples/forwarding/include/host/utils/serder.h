#pragma once

#include <pos/serder.h>
