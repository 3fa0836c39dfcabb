#pragma once

#include <QString>
#include <QStringList>

namespace lar {

// Status bits of a printer, with the values of the Windows printing system, in the
// order of their texts; 0 is an idle printer.
namespace ei {
constexpr quint32 Pausada = 0x1;
constexpr quint32 Error = 0x2;
constexpr quint32 PendienteBorrar = 0x4;
constexpr quint32 PapelAtorado = 0x8;
constexpr quint32 SinPapel = 0x10;
constexpr quint32 AlimentacionManual = 0x20;
constexpr quint32 ProblemaPapel = 0x40;
constexpr quint32 Apagada = 0x80;
constexpr quint32 EsActivada = 0x100;
constexpr quint32 Ocupada = 0x200;
constexpr quint32 Imprimiendo = 0x400;
constexpr quint32 BandejaLlena = 0x800;
constexpr quint32 NoDisponible = 0x1000;
constexpr quint32 Esperando = 0x2000;
constexpr quint32 Procesando = 0x4000;
constexpr quint32 Inicializando = 0x8000;
constexpr quint32 Calentandose = 0x10000;
constexpr quint32 TonerBajo = 0x20000;
constexpr quint32 SinToner = 0x40000;
constexpr quint32 LiberacionHoja = 0x80000;
constexpr quint32 IntervencionUsuario = 0x100000;
constexpr quint32 SinMemoria = 0x200000;
constexpr quint32 PuertaAbierta = 0x400000;
constexpr quint32 Desconocido = 0x800000;
constexpr quint32 AhorroEnergia = 0x1000000;
} // namespace ei

struct DatosImpresora
{
    QString nombre;
    QString controlador; // driver: the make and model of the queue
    QString puerto;      // where it prints: the device URI
    QString comentario;  // the queue's description
    quint32 estado = 0;  // ei:: bits
    QString textoEstado;
};

// A printer of the system (a CUPS queue) described as the print dialog shows it. A
// name the printing system doesn't know gives only the state "Desconocido".
DatosImpresora DescribeImpresora(const QString &nombre);

// The status bits of a CUPS queue: its printer-state (3 idle, 4 processing, 5
// stopped), printer-state-reasons (with or without their -error, -warning or
// -report suffix) and whether it accepts jobs.
quint32 EstadoDeCups(int printerState, const QStringList &razones, bool aceptaTrabajos);

// The texts of the bits set, in bit order and joined with ", "; "Inactiva" for 0.
QString TextoEstadoImpresora(quint32 estado);

} // namespace lar
