// Owners of libzip handles, and libzip errors as text. Internal.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <zip.h>

#include <memory>

namespace VdcContainer {

struct ZipDiscard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
// An archive that is closed without writing anything; call zip_close and release() to
// write it.
using UniqueZip = std::unique_ptr<zip_t, ZipDiscard>;

struct ZipFileClose {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using UniqueZipFile = std::unique_ptr<zip_file_t, ZipFileClose>;

struct ZipSourceFree {
    void operator()(zip_source_t* source) const { zip_source_free(source); }
};
using UniqueZipSource = std::unique_ptr<zip_source_t, ZipSourceFree>;

// Owns a zip_error_t.
class ZipErrorHolder {
public:
    ZipErrorHolder() { zip_error_init(&m_error); }
    ~ZipErrorHolder() { zip_error_fini(&m_error); }
    ZipErrorHolder(const ZipErrorHolder&) = delete;
    ZipErrorHolder& operator=(const ZipErrorHolder&) = delete;
    zip_error_t* Get() { return &m_error; }

private:
    zip_error_t m_error;
};

// libzip's own description of an error, for the end of an error text.
inline CString ZipErrorText(zip_error_t* error) { return CString::FromUtf8(zip_error_strerror(error)); }

}  // namespace VdcContainer
