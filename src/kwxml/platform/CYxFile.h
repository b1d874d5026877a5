// Files of bytes: the files of messages and of XML text.
#pragma once

#include <kwxml/platform/CYxError.h>
#include <kwxml/platform/Export.h>

#include <cstddef>

/// A file of bytes over a POSIX descriptor, unbuffered.
///
/// Nearly every operation takes an optional CYxError, which the operation sets on failure and clears on
/// success. Operations on a file that is not open fail with EBADF; Close() alone succeeds there. Interrupted
/// system calls are repeated. Nothing is logged. An object owns its descriptor, closes the descriptor when
/// the object ends, and belongs to one thread at a time.
class KWXML_API CYxFile
{
public:
  /// How Open() opens a file.
  enum class Mode
  {
    Read,      ///< an existing file, to read
    Write,     ///< an existing file, to read and write
    Update,    ///< to read and write; created when missing, its contents kept
    Truncate,  ///< to read and write; created when missing, its contents discarded
  };
  /// What an offset of Seek() counts from.
  enum class Origin
  {
    Begin,    ///< the file's beginning
    Current,  ///< the position
    End       ///< the file's end
  };

  /// Not open.
  CYxFile() = default;
  /// Opens the file; see Open(). IsValid() tells whether that worked.
  CYxFile(const char* path, Mode mode, CYxError* error = nullptr);
  /// Closes the file; an error that the system reports then is lost.
  ~CYxFile();
  /// Takes over the open file of `other`, which is then not open.
  CYxFile(CYxFile&& other) noexcept;
  /// Closes the own file, whose error is lost, and takes over that of `other`, which is then not open.
  CYxFile& operator=(CYxFile&& other) noexcept;

  /// Closes what is open and opens `path`, positioned at the file's beginning. False on failure; then no file
  /// is open. A null path fails with EINVAL, a directory with EISDIR. New files get the permissions that the
  /// process's umask leaves of rw-rw-rw-. Programs that this process starts do not inherit the descriptor.
  [[nodiscard]] bool Open(const char* path, Mode mode, CYxError* error = nullptr);
  /// Whether a file is open.
  bool IsValid() const { return fd_ >= 0; }
  /// Closes the file; true where none is open. False when the system reports a delayed error; the file is
  /// closed either way.
  bool Close(CYxError* error = nullptr);

  /// Reads up to `size` bytes at the position into `data` and moves the position on. Returns how many bytes
  /// were read, fewer than `size` only at the end of the file, or -1 on failure: then a part may have been
  /// read.
  [[nodiscard]] long long Read(void* data, size_t size, CYxError* error = nullptr);
  /// Writes `size` bytes of `data` at the position and moves the position on. Returns `size`, or -1 on
  /// failure: then a part may have been written.
  [[nodiscard]] long long Write(const void* data, size_t size, CYxError* error = nullptr);
  /// Moves the position. Returns the new position, or -1 when that would be negative or the file has no
  /// positions.
  [[nodiscard]] long long Seek(long long offset, Origin origin = Origin::Begin, CYxError* error = nullptr);
  /// The position, or -1 on failure: the file has no positions, or is not open.
  [[nodiscard]] long long Tell(CYxError* error = nullptr) const;
  /// The file's length in bytes, or -1 on failure.
  [[nodiscard]] long long Size(CYxError* error = nullptr) const;
  /// Whether the position is at or behind the end. For all but plain files, such as pipes: whether the last
  /// Read() found the end. True also for a file that is not open, and where the system fails to tell; `error`
  /// is set then.
  bool IsEOF(CYxError* error = nullptr) const;
  /// Whether another user than the process's and root may have changed the file: whether the file belongs to
  /// such a user, or its group or others may write. True for a file that is not open.
  [[nodiscard]] bool OthersMayWrite() const;
  /// Waits until the storage device has everything that was written. True where nothing can be pending, such
  /// as for a pipe. False on failure.
  [[nodiscard]] bool Flush(CYxError* error = nullptr);
  /// The same as Flush(), without what is not needed to read the bytes again, such as the time of the last
  /// change.
  [[nodiscard]] bool FlushData(CYxError* error = nullptr);
  /// Makes the file `size` bytes long; new bytes are zero. The position stays, also where it then lies behind
  /// the end. False on failure, as for a file that was opened to read.
  [[nodiscard]] bool Truncate(long long size, CYxError* error = nullptr);

private:
  int fd_ = -1;
  bool readEnd_ = false;  // the last Read found the end
};
