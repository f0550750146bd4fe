#pragma once

#include <pos/documentcardrecord.h>
