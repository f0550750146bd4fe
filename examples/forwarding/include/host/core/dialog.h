#pragma once

#include <pos/dialog.h>
