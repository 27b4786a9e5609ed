#include "WholeFile.h"

#include "Console.h"

#include <filesystem>
#include <fstream>
#include <ios>
#include <system_error>

namespace fs = std::filesystem;

std::string ReadWholeFile(const std::string& sFile)
{
    std::error_code oError;
    if (fs::is_directory(sFile, oError))
        throw CFailure(sFile, "is a directory");

    std::ifstream oFile(sFile, std::ios::binary | std::ios::ate);
    if (!oFile)
        throw CFailure(sFile, "cannot be opened");
    std::string sBytes(static_cast<std::size_t>(oFile.tellg()), '\0');
    oFile.seekg(0);
    if (!oFile.read(sBytes.data(), static_cast<std::streamsize>(sBytes.size())))
        throw CFailure(sFile, "cannot be read");
    return sBytes;
}

void WriteWholeFile(const std::string& sFile, std::string_view sBytes)
{
    const std::string sPart = sFile + ".part";
    std::error_code oError;
    {
        std::ofstream oFile(sPart, std::ios::binary);
        oFile.write(sBytes.data(), static_cast<std::streamsize>(sBytes.size()));
        oFile.close();
        if (!oFile)
        {
            fs::remove(sPart, oError);
            throw CFailure(sFile, "cannot be written");
        }
    }
    fs::rename(sPart, sFile, oError);
    if (oError)
    {
        std::error_code oIgnored;
        fs::remove(sPart, oIgnored);
        throw CFailure(sFile, "cannot be written");
    }
}
