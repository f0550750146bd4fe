#pragma once

#include <pos/mockfactory.h>
