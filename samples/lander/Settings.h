#pragma once

// Shows: the property manager (Common/Property/VQPropertyManager.h).
// Why: settings come and go with versions of a game. Values by name let an old file, and one with too much in it, be
// read; the values that a file lacks come from the defaults in the archive.

#include "Assets.h"

#include <Common/Property/VQPropertyManager.h>

class CSettings
{
public:
    /// Reads the defaults, and over them what the player has.
    ///
    /// @return false for a file of the player's that is broken: it counts as none
    bool Load()
    {
        CFileIO oFile;
        oFile.Open("settings.vqp", CFileIO::READ);
        m_oValues.Read(&oFile);
        if (!std::filesystem::exists(FILE_NAME))
            return true;
        try
        {
            CVQPropertyManager oPlayers(m_oValues);
            oFile.Open(FILE_NAME, CFileIO::READ);
            const bool bRight = oFile.GetSize() <= MOST_BYTES && oPlayers.Read(&oFile) && oFile.IsEof();
            m_oValues = bRight ? oPlayers : m_oValues;
            return bRight;
        }
        catch (const CVQException&)
        {
            return false;
        }
    }

    /// Keeps them for the next time: "" or what went wrong.
    std::string Save()
    {
        return SaveSafely(FILE_NAME, [&](CFileIO& oFile) { return m_oValues.Write(&oFile); });
    }

    /// A number; 0 for what is not from 0 to nMost.
    int GetInt(const char* pName, int nMost) const
    {
        const CVQProperty& oValue = m_oValues.FindProperty(pName);
        return oValue.IsOfType(PROPTYPE_INT) && oValue.GetInt() >= 0 && oValue.GetInt() <= nMost ? oValue.GetInt() : 0;
    }

    void SetInt(const char* pName, int nValue) { m_oValues.SetProperty(pName, CVQProperty(nValue)); }

private:
    static constexpr const char* FILE_NAME = "player.vqp";
    static constexpr unsigned long MOST_BYTES = 1 << 16;

    CVQPropertyManager m_oValues;
};
