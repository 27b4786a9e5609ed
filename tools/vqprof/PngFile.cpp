#include "PngFile.h"

#include "Console.h"
#include "WholeFile.h"

#include <cstddef>
#include <string>

#if defined(COMMON_HAS_PNG)

#    include <png.h>

namespace
{
constexpr int BITS_PER_COLOUR = 8;

void Append(png_structp pWriter, png_bytep pBytes, png_size_t nSize)
{
    auto* const pFile = static_cast<std::string*>(png_get_io_ptr(pWriter));
    pFile->append(reinterpret_cast<const char*>(pBytes), nSize);
}

void FlushNothing(png_structp) {}

// The library ends a failed writing with this; an exception takes the place of its jump.
[[noreturn]] void Fail(png_structp, png_const_charp pMessage)
{
    throw CFailure("PNG", pMessage);
}

void Ignore(png_structp, png_const_charp) {}
} // namespace

void WritePng(const std::string& sFile, const CPicture& oPicture)
{
    struct sWriter
    {
        sWriter() : pWriter(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, &Fail, &Ignore))
        {
            pInfo = pWriter != nullptr ? png_create_info_struct(pWriter) : nullptr;
        }

        ~sWriter() { png_destroy_write_struct(&pWriter, &pInfo); }

        sWriter(const sWriter&) = delete;
        sWriter& operator=(const sWriter&) = delete;

        png_structp pWriter;
        png_infop pInfo;
    };

    sWriter oWriter;
    if (oWriter.pInfo == nullptr)
        throw CFailure("PNG", "no memory");

    std::string sBytes;
    png_set_write_fn(oWriter.pWriter, &sBytes, &Append, &FlushNothing);
    png_set_IHDR(oWriter.pWriter, oWriter.pInfo, static_cast<png_uint_32>(oPicture.GetWidth()),
                 static_cast<png_uint_32>(oPicture.GetHeight()), BITS_PER_COLOUR, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(oWriter.pWriter, oWriter.pInfo);
    for (std::size_t nRow = 0; nRow < oPicture.GetHeight(); ++nRow)
        png_write_row(oWriter.pWriter, oPicture.GetRow(nRow));
    png_write_end(oWriter.pWriter, oWriter.pInfo);
    WriteWholeFile(sFile, sBytes);
}

#else

void WritePng(const std::string& sFile, const CPicture&)
{
    throw CFailure(sFile, "this program was built without a library for PNG files");
}

#endif
