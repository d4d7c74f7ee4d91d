#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <vector>
#include <xcb/xcb.h>

// Atom names and atoms of one X connection, asked of the server once each and kept: the
// selections, the targets the selection protocol reserves for itself, and any target name a
// clipboard owner offers.
class XcbSelectionAtoms {
public:
    explicit XcbSelectionAtoms(xcb_connection_t* connection);

    xcb_atom_t clipboard = XCB_NONE;
    xcb_atom_t targets = XCB_NONE;
    xcb_atom_t multiple = XCB_NONE;
    xcb_atom_t timestamp = XCB_NONE;
    xcb_atom_t incr = XCB_NONE;
    xcb_atom_t utf8String = XCB_NONE;
    xcb_atom_t atomPair = XCB_NONE;

    // XCB_NONE when the server refused (an empty name).
    xcb_atom_t atom(const QString& name);
    // One round trip for all the names not known yet; an empty name for an atom the server
    // does not know.
    QStringList names(const std::vector<xcb_atom_t>& atoms);

    // Targets that are part of the protocol rather than content: never copied, always
    // answered by the owner itself.
    static bool isProtocolTarget(const QString& name);

private:
    void remember(xcb_atom_t atom, const QString& name);

    xcb_connection_t* m_connection;
    QHash<QString, xcb_atom_t> m_atoms;
    QHash<xcb_atom_t, QString> m_names;
};
