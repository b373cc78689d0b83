/**
 * @file
 * Files of raw bytes on the buffered streams of libc, with narrow names. Results are the small
 * codes of FileStatus; errno is not part of them.
 *
 * An object serves one thread at a time. The caller's buffers stay the caller's: no pointer to one
 * is kept after a call.
 */
#ifndef VERRICK_FILE_H
#define VERRICK_FILE_H

#include <verrick/detail/api.h>

#include <cstdio>

/** The result of Open, Read, Write and Seek. */
enum FileStatus {
    FILE_STATUS_OK = 0,            /**< done */
    FILE_STATUS_NOT_FOUND = 1,     /**< Open: no such file; else: no file is open */
    FILE_STATUS_END_OF_FILE = 2,   /**< Read: nothing was read, for the file is at its end */
    FILE_STATUS_ACCESS_DENIED = 3, /**< Open: permission refused */
    FILE_STATUS_FAILED = 4         /**< everything else */
};

/**
 * The bits of Open's mode. Seven combinations are accepted:
 *
 *     READ                     reads an existing file
 *     WRITE, READ | WRITE      keep an existing file, make a missing one; both can be read, from
 *                              the start, and every write lands at the end, wherever the position
 *                              is
 *     WRITE | CREATE           empties or makes the file, for writing
 *     READ | WRITE | CREATE    the same, for both
 *     WRITE | APPEND           writes at the end, makes a missing file
 *     READ | WRITE | APPEND    the same, for both
 */
enum : unsigned int {
    FILE_MODE_READ = 1,   /**< read */
    FILE_MODE_WRITE = 2,  /**< write */
    FILE_MODE_CREATE = 4, /**< with WRITE: empty or make the file */
    FILE_MODE_APPEND = 8  /**< with WRITE: write at the end */
};

/** The interface of files. */
class VERRICK_API IFile {
public:
    /** The base of a seek: SEEK_SET, SEEK_CUR, SEEK_END. */
    enum origin_t : int {
        ORIGIN_BEGIN = 0,   /**< the start of the file */
        ORIGIN_CURRENT = 1, /**< the position */
        ORIGIN_END = 2      /**< the end of the file */
    };

    IFile();

    /** Closes the file. */
    virtual ~IFile();

    /**
     * Opens the file of that name, as fopen does. Gives FILE_STATUS_FAILED for a mode that isn't
     * accepted, and while a file is open, which stays open and untouched.
     */
    virtual FileStatus Open(char const* path, unsigned int mode) = 0;

    /** Writes out what is buffered and closes; an error in that is not reported. May come twice. */
    virtual void Close() = 0;

    /**
     * Reads at most count bytes, as fread does, and stores their number in *countDone, which may be
     * null and is not written while no file is open. At the end of the file a short read gives
     * FILE_STATUS_OK, and the next one, of no bytes, FILE_STATUS_END_OF_FILE.
     *
     * An error of the stream sticks: every later Read and Write gives FILE_STATUS_FAILED, with the
     * true count, until Size clears it.
     */
    virtual FileStatus Read(void* buffer, unsigned int count, unsigned int* countDone) = 0;

    /**
     * Writes count bytes, as fwrite does; buffer is only read. countDone and errors as for Read.
     */
    virtual FileStatus Write(void* buffer, unsigned int count, unsigned int* countDone) = 0;

    /** Hands buffered writes to the system, as fflush does. */
    virtual void Flush() = 0;

    /** Moves the position to offset bytes from the base, as fseek does. */
    virtual FileStatus Seek(int offset, IFile::origin_t origin) = 0;

    /**
     * The position in bytes, as ftell gives it. 0 also while no file is open, when the query fails,
     * and for a position beyond 2147483647.
     */
    virtual int Position() = 0;

    /**
     * The length of the file in bytes, buffered writes included; 0 in the cases of Position. The
     * position stays; the marks of an error and of the end of the file are cleared.
     */
    virtual int Size() = 0;

    /**
     * The first 39 bytes of the name given to Open, good until Close; null while no file is open.
     */
    virtual char const* Name() = 0;

    IFile(IFile const&) = delete;
    IFile& operator=(IFile const&) = delete;
};

/** A file, as an application creates it. */
class VERRICK_API DFile : public IFile {
public:
    /** Opens nothing. */
    DFile();
    ~DFile() override;

    FileStatus Open(char const* path, unsigned int mode) override;
    void Close() override;
    FileStatus Read(void* buffer, unsigned int count, unsigned int* countDone) override;
    FileStatus Write(void* buffer, unsigned int count, unsigned int* countDone) override;
    void Flush() override;
    FileStatus Seek(int offset, IFile::origin_t origin) override;
    int Position() override;
    int Size() override;
    char const* Name() override;

private:
    char m_name[40];     /* terminated; all zero while no file is open */
    std::FILE* m_stream; /* owned; null while no file is open */
};

#endif
