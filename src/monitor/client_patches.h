#pragma once

#include <QList>
#include <QVariantMap>

class SharedSettings;
class ZnPresenterClass;

/// The patches that the server offers for this version of the client: downloads them, keeps them in
/// the settings file, and reports those that were applied. Called on the presenter's object thread.
/// The file has a group for each patch, named by its id, with ClientPatch::Remark,
/// System::timeStamp, ClientPatch::PatchStatus ("0" downloaded; whoever applies the patch sets "1")
/// and ClientPatch::PatchUrl, the path of the zip file. The settings' mutex is never held across a
/// request or a download.
class ClientPatches {
public:
    /// `settings` outlives this object.
    explicit ClientPatches(SharedSettings& settings) : m_patchSettings(settings) {}
    Q_DISABLE_COPY(ClientPatches)

    /// Reports the patches that were applied, in at most five attempts; without any, nothing is
    /// sent. They stay in the list. Blocks for the requests.
    void uploadClientPatchInfo(ZnPresenterClass* presenter);
    /// Replaces the list by the server's, downloads its patches and removes the zip files of
    /// others and what is left of downloads that a dying process broke off. A failed query changes
    /// nothing. Blocks for a request and for downloads.
    void queryClientPatchInfo(ZnPresenterClass* presenter);
    /// Downloads the patches of this version among `rows` and enters them in the list. Returns how
    /// many were downloaded and publishes their names, if any, with
    /// EventMsgName::ClientPatchUpdateEvent. A patch whose id is not a file name, without an
    /// address or whose download fails is logged as a warning and left out. Blocks for the
    /// downloads, ends early when the presenter is closing.
    int writePatchInfoFile(ZnPresenterClass* presenter, const QList<QVariantMap>& rows);

private:
    /// Removes the zip files that the list does not name any more, and temporary ones.
    void removeOldFiles() const;

    SharedSettings& m_patchSettings;
};
