#pragma once

// Shows: the string-resource hooks (Common/String/VQString.h), text records and files in memory (Common/File).
// Why: the program names its texts by number. The hook answers in the language of the moment, so that switching while
// the game runs takes one assignment.

#include "Assets.h"

#include <Common/File/MemFileIO.h>

#include <map>

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
    using Language = std::map<long, CVQString>;

    static bool LoadString(long nId, CVQString& oTarget)
    {
        const Language& oLanguage = s_aLanguages[s_nLanguage];
        const auto itText = oLanguage.find(nId);
        if (itText != oLanguage.end())
            oTarget = itText->second;
        return itText != oLanguage.end();
    }

    // The same records can be read from a file on disk, in an archive and in memory: here a number and a text each.
    static void LoadLanguage(const std::string& sFile, Language& oLanguage)
    {
        std::string sBytes = CAssets::Read(sFile);
        CMemFileIO oFile(reinterpret_cast<unsigned char*>(sBytes.data()), static_cast<unsigned long>(sBytes.size()), 0);
        int nId = 0;
        CVQString oText;
        while (oFile.ReadAscii(nId) && oFile.ReadAscii(oText))
            oLanguage[nId] = oText;
        for (long nText = textTitle; nText < textEnd; ++nText)
        {
            if (oLanguage[nText].IsEmpty())
                throw std::runtime_error(sFile + ": a text is missing");
        }
    }

    static inline Language s_aLanguages[LANGUAGE_COUNT];
    static inline int s_nLanguage = 0;
};

/// A text in the language of the moment: a string that is made of a number asks the hook.
inline std::string Text(eText nText)
{
    return ~CVQString(CVQStringId(nText));
}
