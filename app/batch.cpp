#include "app/batch.h"

#include "core/logerror.h"

int runBatch(const char* szKeys, const BatchOptions& options) {
    (void)szKeys;
    (void)options;
    openLogFile();
    closeLogFile();
    return 0;
}
