#pragma once

#include <pos/basicexception.h>
