#pragma once

#include <pos/documentimpact.h>
