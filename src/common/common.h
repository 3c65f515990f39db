#ifndef TANEXICS_COMMON_COMMON_H
#define TANEXICS_COMMON_COMMON_H

// The published functions of the utility library, for callers outside of it. Inside the product
// each file includes the units that it uses.

#include "common/base/format.h"
#include "common/base/once.h"
#include "common/base/pathparts.h"
#include "common/base/shell.h"
#include "common/capture/execgetlines.h"
#include "common/capture/execgetlinestimeout.h"
#include "common/capture/filesizes.h"
#include "common/capture/host.h"
#include "common/capture/terminal.h"
#include "common/files/attributes.h"
#include "common/files/filelist.h"
#include "common/files/filesystem.h"
#include "common/files/pathform.h"
#include "common/files/prefix.h"
#include "common/files/removal.h"
#include "common/process/execgetline.h"
#include "common/process/waitstatus.h"
#include "common/text/charclass.h"
#include "common/text/encoding.h"
#include "common/text/environment.h"
#include "common/text/fields.h"
#include "common/text/keyvalue.h"
#include "common/text/numbertext.h"
#include "common/text/padding.h"
#include "common/text/text.h"
#include "common/text/timetext.h"
#include "common/text/wildcard.h"

#endif
