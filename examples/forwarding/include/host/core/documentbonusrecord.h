#pragma once

#include <pos/documentbonusrecord.h>
