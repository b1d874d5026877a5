// A file of bytes over a POSIX descriptor, unbuffered. Used for the files of messages and of XML text.
//
// Every operation takes an optional CYxError, which it sets on failure and clears on success. Operations on a
// file that is not open fail with EBADF. Interrupted calls are repeated. An object owns its descriptor,
// closes it with itself, and belongs to one thread at a time.
#pragma once

#include <kwxml/platform/CYxError.h>

#include <cstddef>

class CYxFile
{
public:
  enum class Mode
  {
    Read,      // an existing file, to read
    Write,     // an existing file, to read and write
    Update,    // to read and write; created when missing, its contents kept
    Truncate,  // to read and write; created when missing, its contents discarded
  };
  enum class Origin
  {
    Begin,
    Current,
    End
  };

  /// Not open.
  CYxFile() = default;
  /// Opens the file; see Open. IsValid tells whether that worked.
  CYxFile(const char* path, Mode mode, CYxError* error = nullptr);
  ~CYxFile();
  CYxFile(CYxFile&& other) noexcept;
  CYxFile& operator=(CYxFile&& other) noexcept;

  /// Closes what is open and opens `path`, positioned at its beginning. Directories are refused. New files
  /// get the permissions that the process's umask leaves of rw-rw-rw-. Descriptors are not inherited by
  /// programs that this process starts.
  [[nodiscard]] bool Open(const char* path, Mode mode, CYxError* error = nullptr);
  /// Whether a file is open.
  bool IsValid() const { return fd_ >= 0; }
  /// False when the system reports a delayed error; the file is closed either way.
  bool Close(CYxError* error = nullptr);

  /// Reads up to `size` bytes at the position and moves it on. Returns the bytes read, fewer than `size` only
  /// at the end of the file, or -1.
  [[nodiscard]] long long Read(void* data, size_t size, CYxError* error = nullptr);
  /// Writes all bytes at the position and moves it on. Returns `size`, or -1: then a part may have been
  /// written.
  [[nodiscard]] long long Write(const void* data, size_t size, CYxError* error = nullptr);
  /// Moves the position. Returns the new one, or -1 when it would be negative or the file has no positions.
  long long Seek(long long offset, Origin origin = Origin::Begin, CYxError* error = nullptr);
  /// The position, or -1.
  [[nodiscard]] long long Tell(CYxError* error = nullptr) const;
  /// The file's length in bytes, or -1.
  [[nodiscard]] long long Size(CYxError* error = nullptr) const;
  /// Whether the position is at or behind the end. For what has no positions (a pipe): whether a read found
  /// the end. True for a file that is not open, and where the system does not tell: nothing can be read on.
  /// `error` says which.
  bool IsEOF(CYxError* error = nullptr) const;
  /// Whether another user than this process's and root may have changed the file: by its owner or by the
  /// permissions of its group and of others. True for a file that is not open.
  [[nodiscard]] bool OthersMayWrite() const;
  /// Hands everything written to the storage device.
  [[nodiscard]] bool Flush(CYxError* error = nullptr);
  /// The same but for what is not needed to read the bytes again, such as the time of the last change.
  [[nodiscard]] bool FlushData(CYxError* error = nullptr);
  /// Makes the file `size` bytes long. The position stays, also where it then lies behind the end.
  [[nodiscard]] bool Truncate(long long size, CYxError* error = nullptr);

private:
  int fd_ = -1;
  bool readEnd_ = false;  // the last read found the end
};
