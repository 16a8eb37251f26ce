#pragma once

/// Receives changes of the user's current security accounts.
class SecurityAccountSink {
public:
    virtual ~SecurityAccountSink() = default;
    /// Called after a change, on the thread that made it, which holds no lock.
    virtual void securityAccountSettingChanged() = 0;
};
