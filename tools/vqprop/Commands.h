#pragma once

#include "PropertyTree.h"

#include <optional>
#include <string>
#include <vector>

// The commands of vqprop. Each returns the exit code, and throws CFailure where it cannot do its work.

/// What holds for all commands.
struct sOptions
{
    std::optional<sLayout> m_oLayout; ///< forces the layout of files
    bool m_bJson = false;
};

/// Writes a file as a tree or as JSON; of a damaged one what could be read, and where and why that ended.
int ShowFile(const sOptions& oOptions, const std::string& sFile);

/// Writes the value of a property; of a list or struct what is in it.
int GetValue(const sOptions& oOptions, const std::string& sFile, const std::string& sPath);

/// Sets a property, and adds it when it is missing; the file too.
int SetValue(const sOptions& oOptions, const std::string& sFile, const std::string& sPath, const std::string& sType,
             const std::optional<std::string>& sValue);

/// Removes a property.
int RemoveValue(const sOptions& oOptions, const std::string& sFile, const std::string& sPath);

/// Writes what differs between two files.
///
/// @return 1 when something does
int CompareFiles(const sOptions& oOptions, const std::string& sFirst, const std::string& sSecond);

/// Writes a file as JSON, to a file or to standard output.
int ConvertToJson(const sOptions& oOptions, const std::string& sFile, const std::optional<std::string>& sJson);

/// Writes a file from JSON.
int ConvertFromJson(const sOptions& oOptions, const std::string& sJson, const std::string& sFile);
