#include "updater/web_utils.h"
