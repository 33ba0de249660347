#include "updater/zip_archive.h"
