#include "server/operative/VarContext.h"

VarContexts varContexts;
