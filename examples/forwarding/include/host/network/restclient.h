#pragma once

#include <pos/restclient.h>
