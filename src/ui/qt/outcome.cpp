#include "ui/qt/outcome.h"

#include "host/report_output.h"
#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

// A count with Spanish thousands grouping and its noun in singular or plural.
QString Counted(long long n, const char* one, const char* many) {
    QString digits = QString::number(n < 0 ? -n : n);
    for (qsizetype i = digits.size() - 3; i > 0; i -= 3)
        digits.insert(i, QLatin1Char('.'));
    return digits + QLatin1Char(' ') + QString::fromUtf8(n == 1 ? one : many);
}

QString SaveFigures(const AccountSaveSummary& s) {
    QString text = Counted(s.entriesWritten, "apunte escrito", "apuntes escritos") +
                   QStringLiteral(", ") + Counted(s.references, "referencia", "referencias");
    if (s.entriesOpen == 0) return text + QStringLiteral("; no queda nada pendiente");
    return text + (s.entriesOpen == 1 ? QStringLiteral("; queda ") : QStringLiteral("; quedan ")) +
           Counted(s.entriesOpen, "apunte pendiente", "apuntes pendientes");
}

QString Side(int side) {
    return side == 1 ? QStringLiteral("del debe") : QStringLiteral("del haber");
}

}  // namespace

QString DescribeOutcome(const Outcome& o) {
    using K = Outcome::Kind;
    switch (o.kind) {
        case K::AccountSaved:
            return QStringLiteral("Cuenta %1 guardada: %2.")
                .arg(Q(o.save.account), SaveFigures(o.save));
        case K::AccountCleared:
            return QStringLiteral(
                       "Referencias y punteo de la cuenta %1 borrados en todas las empresas; "
                       "punteada de nuevo: %2.")
                .arg(Q(o.save.account), SaveFigures(o.save));
        case K::AllCleared:
            return QStringLiteral(
                "Referencias y punteo borrados en todas las cuentas de las empresas "
                "consultadas.");
        case K::GroupSaveFinished:
            return QStringLiteral("Grabación del grupo terminada: %1 de %2 (%3); %4.")
                .arg(Counted(o.accountsDone, "cuenta guardada", "cuentas guardadas"),
                     QString::number(o.accountsTotal),
                     Counted(o.entriesWritten, "apunte escrito", "apuntes escritos"),
                     Counted(o.accountsLeft, "cuenta sigue en la lista",
                             "cuentas siguen en la lista"));
        case K::GroupSaveStopped:
            return QStringLiteral("Proceso detenido tras %1 de %2 cuentas (la última, %3; %4).")
                .arg(QString::number(o.accountsDone), QString::number(o.accountsTotal),
                     Q(o.lastAccount),
                     Counted(o.entriesWritten, "apunte escrito", "apuntes escritos"));
        case K::RunUndone: {
            QString text =
                QStringLiteral("Proceso %1 deshecho: %2, %3.")
                    .arg(QString::number(o.run), Counted(o.accountsDone, "cuenta", "cuentas"),
                         Counted(o.entriesWritten, "apunte restaurado", "apuntes restaurados"));
            if (o.accountsLeft > 0)
                text += QStringLiteral(" %1 sin deshacer por cambios posteriores.")
                            .arg(Counted(o.accountsLeft, "cuenta queda", "cuentas quedan"));
            if (o.accountsDone > 0)
                text += QStringLiteral(
                    " Las rejillas se han vaciado: un clic en la cuenta la "
                    "vuelve a puntear y guardar.");
            return text;
        }
        case K::NoRuns:
            return QStringLiteral("No hay procesos grabados que deshacer.");
        case K::ListFilled:
            return (o.pendingList ? QStringLiteral("Cuentas con partidas pendientes: %1.")
                                  : QStringLiteral("Todas las cuentas: %1."))
                .arg(Counted(o.accountsLeft, "cuenta", "cuentas"));
        case K::ReportShown:
            return o.destination == kReportToPrinter
                       ? QStringLiteral("Informe enviado a la impresora.")
                       : QStringLiteral("Informe presentado en pantalla.");
        case K::ReportWritten:
            return QStringLiteral("Informe escrito en %1").arg(Q(o.file));
        case K::ReportCancelled:
            return QStringLiteral("Informe no guardado: no se eligió fichero.");
        case K::ReportFailed:
            return QStringLiteral("No se pudo escribir el informe: %1").arg(Q(o.error));
        case K::RowsCopied:
            return QStringLiteral("%1 %2 %3 al portapapeles.")
                .arg(Counted(o.rows, "fila", "filas"), Side(o.side),
                     o.rows == 1 ? QStringLiteral("copiada") : QStringLiteral("copiadas"));
        case K::RowsExported:
            return QStringLiteral("%1 %2 %3 a %4")
                .arg(Counted(o.rows, "fila", "filas"), Side(o.side),
                     o.rows == 1 ? QStringLiteral("exportada") : QStringLiteral("exportadas"),
                     Q(o.file));
        case K::ExportFailed:
            return QStringLiteral("No se pudieron exportar las filas %1: %2")
                .arg(Side(o.side), Q(o.error));
    }
    return {};
}

}  // namespace pendara
