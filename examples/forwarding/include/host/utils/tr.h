#pragma once

#include <pos/tr.h>
