#pragma once
// Where each value stands in the texts the program exchanges by column: the line an entry of an
// account's extract is read as, and the rows of the two extract grids. Every reader and writer of
// those texts takes its column numbers from here.

namespace pendara {

// The fields of an extract line (LeerDatosExtracto), from 0; they are the extract's columns 0 to
// 11, and column 12 holds the number of the company the entry came from.
struct ExtractCol {
    enum : int {
        Record = 0,   // the entry's record number
        Field2,       // host field 2
        Date,         // compact date (yymmdd)
        Entry,        // journal entry number ("Asiento")
        Description,  // "Descripción"
        Debit,        // the amount when the indicator is 1, else "0"
        Credit,       // the amount when the indicator is not 1, else "0"
        Work,         // "0" as loaded
        Mark,         // "Marca"
        Class,        // host field 8, the entry class
        Field14,      // host field 14
        Reference,    // "Referencia punteo"
        Company,      // the company number
    };
    static constexpr int kLineFields = 12;  // fields of a line: columns 0 to 11
};

// The columns of the extract grids SGrid1 (debits) and SGrid2 (credits), from 1; column 0 is the
// header column.
struct GridCol {
    enum : int {
        Record = 1,   // "N" / "R": the record number (hidden)
        Date,         // "Fecha", day-first
        Entry,        // "Asto"
        Description,  // "Descripción"
        Reference,    // "Ref."
        Amount,       // "Importe", as FormatAmount writes it
        Company,      // the company number (hidden)
        Mark,         // the punteo mark (hidden)
    };
    static constexpr int kCount = 8;
};

}  // namespace pendara
