#include "host/network/restclient.h"
