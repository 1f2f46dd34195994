// Choice of the user's locale: a five-character lower-case code such as
// "de_de", language and region joined by an underscore.
#pragma once

#include <QString>

// Writes the locale chosen from the first source that holds a language
// setting (zero-terminated, 16-bit units) and returns true:
//   1. the "Language" preference of the host application named by
//      "AppPreferenceID" in "./skiff_common_config.xml" (current directory);
//   2. the first line of the machine-wide default-language file under the
//      local application-data folder.
// Returns false and leaves `locale` untouched when neither holds a setting;
// the caller then keeps "en_us". The caller provides 1024 zeroed units.
bool getApplicationLocale(unsigned short* locale);

// Replaces a language token ("de", "nb_no", ...) by its locale code; any
// other text, a full code included, is left unchanged. Case-sensitive:
// callers lower-case first.
void GetLocaleFromToken(QString& token);
