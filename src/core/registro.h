#pragma once

#include <QChar>
#include <QString>

#include <memory>

namespace lar {

class MemTable;
class Sesion;

// The schema version this program expects in the root value PuntosLar_DB; compared
// as text.
inline QString VersionEsquema()
{
    return QStringLiteral("000040");
}

// The settings tree LAR_REGISTRO. Folders are walked Raiz, Carpeta2, Carpeta3,
// skipping empty ones; all three empty address a value at the root. With leer
// true, valor is cleared and receives the stored text; otherwise valor is stored.
// A read of a missing key creates it (empty), so reading is never free of side
// effects. Returns the REGISTRO_ID of the value. Database errors go to the caller.
int Registro(Sesion &s,
             const QString &carpeta3,
             const QString &raiz,
             const QString &carpeta2,
             bool leer,
             QString &valor,
             const QString &nombre);

// The folder part of a path: the id of its last folder, from RegistroCache when
// the path has been seen in this session.
int RegistroCarpeta(Sesion &s,
                    const QString &carpeta2,
                    const QString &raiz,
                    QString &valor,
                    bool leer,
                    const QString &carpeta3);

// One node under padre: tipo 'F' folder or 'V' value.
int RegistroNodo(
    Sesion &s, const QString &nombre, QChar tipo, QString &valor, bool leer, int padre);

// The usual path, PuntosLar / Puntos, where the configuration values live.
QString LeeRegistro(Sesion &s, const QString &nombre);
void GuardaRegistro(Sesion &s, const QString &nombre, const QString &valor);

// Object tests on the rdb$ tables of the company database. ExisteCampo takes the
// names as given (upper case); the other two normalise them.
bool ExisteTabla(Sesion &s, const QString &nombre);
bool ExisteCampo(Sesion &s, const QString &tabla, const QString &campo);
bool ExisteProcedimiento(Sesion &s, const QString &nombre);

// True for Microsip - Administración 7.22 or older; sets s.VersionMicrosip.
bool VersionMicrosipOk(Sesion &s);

// What the Microsip version and schema version check found. aviso is the message
// for the user ("Aviso del sistema"), empty when there is none to show: a refused
// Microsip has one even when silencioso, and then the application must end.
struct VerificacionDB
{
    bool ok = false;
    QString aviso;
    bool terminar = false;
};
VerificacionDB VerificaDB(Sesion &s, bool silencioso);

// The machine-wide folder of the program, with its trailing separator: the
// environment variable LARVENOS_DATOS when set, else /var/lib/LarvenosPV/.
QString CarpetaDatos();

// Sets s.IniPuntos to CarpetaDatos() + "Puntos.ini", creating the folder, and
// returns it.
QString RutaIni(Sesion &s);

// Writes a node of Microsip's own registry in the configuration database, inside
// the caller's fbConfigTrans: an existing node is left alone unless forzar.
int RegistroMicrosip(Sesion &s,
                     const QString &nombre,
                     int padreId,
                     const QString &tipo,
                     bool forzar,
                     const QString &valor);

// Reads a Microsip catalogue into a memory table (Clave integer, Nombre 30
// characters), ordered by name, on its first row. LlenaCatalogo shows it.
std::unique_ptr<MemTable>
CargaCatalogo(Sesion &s, const QString &tabla, const QString &clave, const QString &nombre);

} // namespace lar
