#pragma once

#include <pos/documents.h>
