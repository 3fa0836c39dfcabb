#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QList>
#include <QString>

namespace lar {

// One of Microsip's connection profiles as the login dialog lists it. `path` is the
// data folder as a Firebird connection prefix, ending in its separator, to which a
// file name is appended. A registry profile whose key can't be opened is listed
// without one (tieneRuta false).
struct Conexion
{
    QString nombre;
    QString path;
    bool tieneRuta = true;
};

// "\\server\dir" for protocol 1 (named pipes), "server:dir" with a server name,
// else the plain directory.
QString PathConexion(const QString &servidor, const QString &directorio, bool protocoloUno);

// The node Microsip names after the Windows user: á é í ó ú become "_".
QString NombreNodoUsuario(const QString &usuarioWindows);

// The two XML files ("Microsip/ProgramData.xml"): common to the machine and the user's.
QString RutaXmlComun();
QString RutaXmlUsuario();

// Loads an XML file; throws std::runtime_error with the reason when it can't.
void CargaXml(QDomDocument &doc, const QString &ruta);
// Saves with an indent of two blanks; throws std::runtime_error when it can't.
void GuardaXml(const QDomDocument &doc, const QString &ruta);

// The connections under ProgramData/LocalMachine/Software/Microsip/Conexiones; a
// missing node on the way gives an empty list, a connection without
// Directorio_de_datos is dropped.
QList<Conexion> LeeConexionesXml(const QDomDocument &comun);

// ProgramData/CurrentUser/<user>/Software/Microsip/Barra_Microsip, or a null
// element when a node on the way is missing.
QDomElement NodoBarraXml(const QDomDocument &usuario, const QString &usuarioWindows);

// The text of a direct child, empty when missing.
QString TextoNodo(const QDomElement &padre, const QString &nombre);
// Sets the text of a direct child, adding it if missing.
void FijaNodo(QDomElement padre, const QString &nombre, const QString &valor);

#ifdef Q_OS_WIN
// Microsip's keys in the 32-bit view of the Windows registry.
QList<Conexion> LeeConexionesRegistro();
void LeeUltimosRegistro(QString &usuario, QString &conexion);
void GuardaUltimosRegistro(const QString &usuario, const QString &conexion);
#endif

} // namespace lar
