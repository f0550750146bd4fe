#pragma once

#include <pos/currenttime.h>
