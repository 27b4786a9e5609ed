#pragma once

// Shows: the string-resource hooks (Common/String/VQString.h), text records and files in memory (Common/File).
// Why: the program names its texts by number. The hook answers in the language of the moment, so that switching while
// the game runs takes one assignment.

#include "Assets.h"

#include <Common/File/MemFileIO.h>

#include <array>

/// Numbers of the texts, the same in every language; see assets/texts.
enum eText : long
{
    textTitle = 100,
    textAltitude,
    textSpeed,
    textFuel,
    textScore,
    textPaused,
    textLanded,
    textCrashed,
    textKeys,
    textSaved,
    textLoaded,
    textNothingSaved,
    textDamagedSave,
    textNotSaved,
    textLanguage,
    textProfiling,
    textReport,
    textSecondPlayer,
    textLoading,
    textLoadingPictures,
    textLoadingLevels,
    textLoadingUserLevels,
    textContinue,
    textAnswers,
    textLevelErrors,
    textHelp,
    textEnd
};

class CTexts
{
public:
    static constexpr int LANGUAGE_COUNT = 2;

    /// Reads all languages and installs the hook; throws when a file or a text is missing.
    static void Load()
    {
        LoadLanguage("texts/english.txt", s_aLanguages[0]);
        LoadLanguage("texts/dutch.txt", s_aLanguages[1]);
        CVQString::s_pfnLoadString = &LoadString;
    }

    static void SetLanguage(int nLanguage) { s_nLanguage = nLanguage; }

    static int GetLanguage() { return s_nLanguage; }

private:
    using Language = std::array<CVQString, textEnd - textTitle>;

    static bool LoadString(long nId, CVQString& oTarget)
    {
        if (nId < textTitle || nId >= textEnd)
            return false;
        oTarget = s_aLanguages.at(static_cast<std::size_t>(s_nLanguage)).at(static_cast<std::size_t>(nId - textTitle));
        return true;
    }

    // The same records can be read from a file on disk, in an archive and in memory: here a number and a text each.
    static void LoadLanguage(const std::string& sFile, Language& oLanguage)
    {
        std::string sBytes = CAssets::Read(sFile);
        CMemFileIO oFile(reinterpret_cast<unsigned char*>(sBytes.data()), static_cast<unsigned long>(sBytes.size()), 0);
        int nId = 0;
        CVQString oText;
        while (oFile.ReadAscii(nId) && oFile.ReadAscii(oText))
        {
            if (nId >= textTitle && nId < textEnd)
                oLanguage[static_cast<std::size_t>(nId - textTitle)] = oText;
        }
        if (std::any_of(oLanguage.begin(), oLanguage.end(), [](const CVQString& o) { return o.IsEmpty(); }))
            throw std::runtime_error(sFile + ": a text is missing");
    }

    static inline std::array<Language, LANGUAGE_COUNT> s_aLanguages;
    static inline int s_nLanguage = 0;
};

/// A text in the language of the moment: a string that is made of a number asks the hook.
inline std::string Text(eText nText)
{
    return ~CVQString(CVQStringId(nText));
}
