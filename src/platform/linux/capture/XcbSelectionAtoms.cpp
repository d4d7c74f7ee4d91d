#include "platform/linux/capture/XcbSelectionAtoms.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

XcbSelectionAtoms::XcbSelectionAtoms(xcb_connection_t* connection) : m_connection(connection) {
    remember(XCB_ATOM_PRIMARY, QStringLiteral("PRIMARY"));
    remember(XCB_ATOM_STRING, QStringLiteral("STRING"));
    remember(XCB_ATOM_ATOM, QStringLiteral("ATOM"));
    remember(XCB_ATOM_INTEGER, QStringLiteral("INTEGER"));

    // Every request first, then every reply: one round trip for all of them.
    const char* const names[] = {"CLIPBOARD", "TARGETS",     "MULTIPLE", "TIMESTAMP",
                                 "INCR",      "UTF8_STRING", "ATOM_PAIR"};
    xcb_atom_t* const fields[] = {&clipboard, &targets,    &multiple, &timestamp,
                                  &incr,      &utf8String, &atomPair};
    xcb_intern_atom_cookie_t cookies[std::size(names)];
    for (std::size_t i = 0; i < std::size(names); ++i)
        cookies[i] =
            xcb_intern_atom(m_connection, 0, std::uint16_t(std::strlen(names[i])), names[i]);
    for (std::size_t i = 0; i < std::size(names); ++i) {
        xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(m_connection, cookies[i], nullptr);
        if (reply) {
            *fields[i] = reply->atom;
            remember(reply->atom, QString::fromLatin1(names[i]));
        }
        std::free(reply);
    }
}

void XcbSelectionAtoms::remember(xcb_atom_t atom, const QString& name) {
    if (atom == XCB_NONE)
        return;
    m_atoms.insert(name, atom);
    m_names.insert(atom, name);
}

xcb_atom_t XcbSelectionAtoms::atom(const QString& name) {
    if (const auto found = m_atoms.constFind(name); found != m_atoms.cend())
        return *found;
    const QByteArray latin = name.toLatin1();
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, std::uint16_t(latin.size()), latin.constData()), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : XCB_NONE;
    std::free(reply);
    remember(atom, name);
    return atom;
}

QStringList XcbSelectionAtoms::names(const std::vector<xcb_atom_t>& atoms) {
    std::vector<std::pair<xcb_atom_t, xcb_get_atom_name_cookie_t>> asked;
    for (const xcb_atom_t atom : atoms) {
        if (atom != XCB_NONE && !m_names.contains(atom))
            asked.emplace_back(atom, xcb_get_atom_name(m_connection, atom));
    }
    for (const auto& [atom, cookie] : asked) {
        xcb_get_atom_name_reply_t* reply = xcb_get_atom_name_reply(m_connection, cookie, nullptr);
        if (reply) {
            // Atom names are Latin-1 by the protocol.
            remember(atom, QString::fromLatin1(xcb_get_atom_name_name(reply),
                                               xcb_get_atom_name_name_length(reply)));
        }
        std::free(reply);
    }
    QStringList names;
    names.reserve(qsizetype(atoms.size()));
    for (const xcb_atom_t atom : atoms)
        names.append(m_names.value(atom));
    return names;
}

bool XcbSelectionAtoms::isProtocolTarget(const QString& name) {
    static const QStringList protocol = {
        QStringLiteral("TARGETS"),      QStringLiteral("MULTIPLE"), QStringLiteral("TIMESTAMP"),
        QStringLiteral("SAVE_TARGETS"), QStringLiteral("DELETE"),
    };
    return protocol.contains(name) || name.startsWith(QLatin1String("INSERT_"));
}
