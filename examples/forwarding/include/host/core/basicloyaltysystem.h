#pragma once

#include <pos/basicloyaltysystem.h>
