#pragma once

/// Lets this thread meet files, while it lives, as a user who owns none of them: the superuser, who may write what is
/// read-only and read what nobody may, asks as nobody then. Where the program is not the superuser's it changes
/// nothing.
class COrdinaryUser
{
public:
    COrdinaryUser();
    ~COrdinaryUser();

    COrdinaryUser(const COrdinaryUser&) = delete;
    COrdinaryUser& operator=(const COrdinaryUser&) = delete;

private:
    bool m_bChanged = false;
};
