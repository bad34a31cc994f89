#pragma once
// What the folder, drive and file list boxes show, read from the file system.
// Shared by the in-memory list boxes and the toolkit adapters.

#include <string>
#include <vector>

namespace vantrove::file_lists {

// The folder as an absolute path without a trailing separator (except "/");
// raises "Path not found" (76) when it is not an existing folder.
std::string CheckFolder(const std::string& path);

// The folders in `folder`, as full paths sorted by name; hidden ones (names
// starting with a dot) are left out. Raises 76 for a folder that is gone and
// "Permission denied" (70) for one that cannot be read.
std::vector<std::string> SubFolders(const std::string& folder);

// The names of the files (regular files, links to them included) in `folder`
// that match `pattern`, sorted; hidden files are left out. The pattern is one
// or more wildcard patterns separated by ";" (* and ?, letters matched
// without regard to case); "*.*" matches every name, as "*" does. Errors as
// SubFolders.
std::vector<std::string> Files(const std::string& folder, const std::string& pattern);
bool MatchesPattern(const std::string& name, const std::string& pattern);

// The mount points of the mounted file systems, "/" first and the rest by
// name; kernel pseudo file systems (proc, sysfs, cgroup, ...) are left out.
std::vector<std::string> Drives();

}  // namespace vantrove::file_lists
