#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vela::db {

/// Replaces the contents of a file as one step: the data goes to a temporary file beside the target, is
/// flushed to disk and renamed over the target, and the folder is flushed too, so that a failure or a kill at
/// any point leaves either the old file or the new one, never a mix.
///
/// - A symbolic link is followed: its target gets the new contents, the link stays a link.
/// - The target keeps its permissions and, where the system lets us, its owner; a new file gets the
///   permissions the process's umask allows (as any file it creates).
/// - A target with several hard links is written in place once the new contents are safe in the temporary
///   file, so that every name still shows the same file.
/// - The temporary file is removed on every failure; those that earlier saves of the same target left behind
///   when they were killed are removed first (only ours: their names and a lock tell them apart).
///
/// Returns an empty text on success, else why not, with the system's reason ("No space left on device").
std::string saveFileAtomically(const std::filesystem::path& target, std::string_view data);

}  // namespace vela::db
