#ifndef TANEXICS_COMMON_COMMON_H
#define TANEXICS_COMMON_COMMON_H

// The published functions of the utility library, for callers outside of it. Inside the product
// each file includes the units that it uses.

#include "common/access.h"
#include "common/attributes.h"
#include "common/capture.h"
#include "common/capturetimeout.h"
#include "common/charclass.h"
#include "common/elapsed.h"
#include "common/encoding.h"
#include "common/environment.h"
#include "common/execline.h"
#include "common/fields.h"
#include "common/filelist.h"
#include "common/filesizes.h"
#include "common/filesystem.h"
#include "common/format.h"
#include "common/host.h"
#include "common/keyvalue.h"
#include "common/listlog.h"
#include "common/numbertext.h"
#include "common/once.h"
#include "common/padding.h"
#include "common/path.h"
#include "common/pathname.h"
#include "common/prefix.h"
#include "common/processcount.h"
#include "common/removal.h"
#include "common/shell.h"
#include "common/terminal.h"
#include "common/text.h"
#include "common/timetext.h"
#include "common/waitstatus.h"
#include "common/wildcard.h"

#endif
