// The key file of the password stand-in (KWPassword.h): made once by an administrator's explicit command, and
// by nothing else, since a key that appears silently would leave the texts under the earlier one unreadable.
//
//     KWPASSWORD-KEY 1
//     0123456789ABCDEF...          32 random bytes as 64 hexadecimal digits
//
// The file is used only while it is a plain file (or a link to one) that belongs to the process's user or to
// root and that group and others can neither read, write nor execute. Nor is the file used when another user
// than these two could write the settings that name it.
#pragma once

#include <kwxml/platform/Export.h>

#include <string>

namespace kwxml {

/// Creates the file at `path` with a new random key and mode 0600, whatever the umask. Never overwrites:
/// anything that exists under the name, a dangling link included, is left as it is. False on failure; then
/// `error` says why in one line, and no file is left behind. `error` is unchanged on success.
[[nodiscard]] KWXML_API bool createKeyFile(const std::string& path, std::string& error);

}  // namespace kwxml
