#pragma once

#include <pos/session.h>
