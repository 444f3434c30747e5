// Whether an earlier installation lies where a patch is about to go, and the saved choice of
// configuration in $USERPREFS/settings.cfg.
#pragma once

#include "base/orlu_types.h"

class DATABASE;

// Reads the "Settings: " line of the earlier run's install_log.txt in the patch folder and
// answers whether it was an installation into the same place (system paths: whether the earlier
// run used them too). `why`, when not null, receives at most `size` bytes that say why the answer
// is no: the folder that does not exist, or the log that is missing or names another place.
[[nodiscard]] bool has_prior_installation(DATABASE* database, char* why = nullptr, size_t size = 0);

// The folder (as symbolic text) and file last chosen in the configuration picker. Missing keys
// leave the buffers as they are; both hold ORLU_MAX_PATH bytes.
void load_saved_settings(char* last_path, char* last_filename);
bool save_settings(const char* last_path, const char* last_filename);
