#pragma once

/// Who is told that the user's current security accounts changed.
class SecurityAccountSink {
public:
    virtual ~SecurityAccountSink() = default;
    /// Called on the thread that changed them, which holds no lock.
    virtual void securityAccountSettingChanged() = 0;
};
