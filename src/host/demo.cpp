#include "host/demo.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>

#include "host/company_store.h"
#include "host/errors.h"
#include "host/numbers.h"

namespace pendara {

namespace {

using Cents = std::int64_t;

struct Invoice {
    std::string number;
    std::size_t line;  // its entry in the truth ledger
    Cents open;        // what is still owed
    Cents total;       // the invoice as issued
    Cents base;
};

const char* const kPrefixes[] = {"Comercial",      "Distribuciones", "Talleres",    "Hermanos",
                                 "Construcciones", "Suministros",    "Transportes", "Almacenes"};
const char* const kSurnames[] = {"García", "López", "Martínez", "Sánchez", "Pérez",
                                 "Gómez",  "Ruiz",  "Díaz",     "Moreno",  "Álvarez"};

std::string Code(const char* group, int n) {
    return group + IntegerText(n, 7);
}

std::string Tradename(int i, const char* suffix) {
    return std::string(kPrefixes[i % 8]) + " " + kSurnames[(i / 8) % 10] + " " +
           std::to_string(i + 1) + " " + suffix;
}

bool Leap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

// dd/mm/yyyy of day `n` (1-based) of the year.
std::string DayOfYear(int year, int n) {
    static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int month = 0;
    for (;;) {
        int len = kDays[month] + (month == 1 && Leap(year) ? 1 : 0);
        if (n <= len || month == 11) break;
        n -= len;
        ++month;
    }
    return IntegerText(n, 2) + "/" + IntegerText(month + 1, 2) + "/" + IntegerText(year, 4);
}

class Generator {
  public:
    Generator(const DemoOptions& o) : o_(o), rng_(o.seed) {
        int customers = std::max(1, o.accounts / 2);
        int suppliers = std::max(1, o.accounts - customers);
        for (int i = 1; i <= customers; ++i)
            customers_.push_back(Code("430", i));
        for (int i = 1; i <= suppliers; ++i)
            suppliers_.push_back(Code("400", i));
        openSales_.resize(customers_.size());
        openPurchases_.resize(suppliers_.size());
    }

    std::vector<ChartAccount> Chart() const {
        std::vector<ChartAccount> c = {
            {"10", "Capital", 2},
            {"1000000000", "Capital social", 0},
            {"12", "Resultados", 2},
            {"1290000000", "Resultado del ejercicio", 0},
            {"40", "Proveedores", 2},
            {"400", "Proveedores", 1},
            {"43", "Clientes", 2},
            {"430", "Clientes", 1},
            {"47", "Administraciones Públicas", 2},
            {"4720000000", "H.P. IVA soportado", 0},
            {"4770000000", "H.P. IVA repercutido", 0},
            {"57", "Tesorería", 2},
            {"572", "Bancos", 1},
            {"5720000001", "Bancos, cuenta corriente principal", 0},
            {"5720000002", "Bancos, cuenta corriente de cobros", 0},
            {"60", "Compras", 2},
            {"6000000000", "Compras de mercaderías", 0},
            {"70", "Ventas", 2},
            {"7000000000", "Ventas de mercaderías", 0},
        };
        for (std::size_t i = 0; i < suppliers_.size(); ++i)
            c.push_back({suppliers_[i], Tradename(static_cast<int>(i) + 3, "S.A."), 0});
        for (std::size_t i = 0; i < customers_.size(); ++i)
            c.push_back({customers_[i], Tradename(static_cast<int>(i), "S.L."), 0});
        return c;
    }

    // `last`: the newest year is the one being worked in, so it is not closed yet.
    std::size_t Year(EntryWriter& w, int year, bool first, bool last) {
        w_ = &w;
        year_ = year;
        asiento_ = 0;
        lines_ = 0;
        Opening(first);
        int target = std::max(o_.entriesPerYear, 10);
        while (lines_ < static_cast<std::size_t>(target)) {
            int day = 2 + static_cast<int>(lines_ * 360 / static_cast<std::size_t>(target));
            date_ = DayOfYear(year, std::min(day, 364));
            Operation();
        }
        if (!last) {
            date_ = DayOfYear(year, Leap(year) ? 366 : 365);
            YearEnd();
        }
        return lines_;
    }

  private:
    std::uint64_t Next(std::uint64_t n) { return rng_() % n; }
    Cents Amount(Cents low, Cents high) {
        return low + static_cast<Cents>(Next(static_cast<std::uint64_t>(high - low + 1)));
    }

    // Returns the entry's place in the truth ledger (kNoLine for other accounts).
    std::size_t Line(const std::string& account, Cents cents, const std::string& description,
                     const std::string& tipo = "") {
        if (cents == 0) return kNoLine;
        EntryRecord e(account, date_, std::to_string(asiento_), description, cents > 0 ? 1 : 2,
                      static_cast<double>(cents) / 100.0, "0", tipo);
        std::int32_t record = w_->Add(e);
        balances_[account] += cents;
        ++lines_;
        if (!account.starts_with("430") && !account.starts_with("400")) return kNoLine;
        truth_.push_back({company_, record, {}});
        settles_.push_back(settles_.size());
        settled_.push_back(false);
        return truth_.size() - 1;
    }

    void Opening(bool first) {
        date_ = DayOfYear(year_, 1);
        ++asiento_;
        if (first) {
            Line("5720000001", 15000000, "Asiento de apertura", "A");
            Line("5720000002", 5000000, "Asiento de apertura", "A");
            Line("1000000000", -20000000, "Asiento de apertura", "A");
            return;
        }
        for (const auto& [account, cents] : carried_)
            Line(account, cents, "Asiento de apertura", "A");
    }

    void Operation() {
        std::uint64_t kind = Next(100);
        if (kind < 36) return SaleInvoice();
        if (kind < 56) return Collection();
        if (kind < 76) return PurchaseInvoice();
        if (kind < 94) return Payment();
        return Reversal();
    }

    void SaleInvoice() {
        std::size_t c = Next(customers_.size());
        Cents base = Amount(1000, 600000);
        Cents vat = (base * 21 + 50) / 100;
        std::string number = std::to_string(++saleNumber_);
        ++asiento_;
        std::size_t line = Line(customers_[c], base + vat, "Fra. " + number);
        Line("7000000000", -base, "Fra. " + number + " venta");
        Line("4770000000", -vat, "Fra. " + number + " IVA");
        openSales_[c].push_back({number, line, base + vat, base + vat, base});
    }

    void PurchaseInvoice() {
        std::size_t s = Next(suppliers_.size());
        Cents base = Amount(1000, 400000);
        Cents vat = (base * 21 + 50) / 100;
        std::string number = std::to_string(70000 + ++purchaseNumber_);
        ++asiento_;
        std::size_t line = Line(suppliers_[s], -(base + vat), "Fra. " + number);
        Line("6000000000", base, "Fra. " + number + " compra");
        Line("4720000000", vat, "Fra. " + number + " IVA");
        openPurchases_[s].push_back({number, line, base + vat, base + vat, base});
    }

    // Settles open invoices of one account: one invoice, several at once, or part of one.
    void Settle(std::vector<Invoice>& open, const std::string& account, const std::string& bank,
                const char* verb, int sign) {
        std::uint64_t how = Next(10);
        std::string text;
        Cents paid = 0;
        std::vector<std::size_t> invoices;  // truth lines of the invoices this pays
        bool partial = false;
        if (how < 2 && open.size() >= 2) {
            std::size_t n = std::min<std::size_t>(open.size(), 2 + Next(2));
            text = std::string(verb) + " Fra. ";
            for (std::size_t i = 0; i < n; ++i) {
                text += (i ? " " : "") + open[i].number;
                paid += open[i].open;
                invoices.push_back(open[i].line);
            }
            open.erase(open.begin(), open.begin() + static_cast<std::ptrdiff_t>(n));
        } else if (how < 4 && open.front().open == open.front().total) {
            Invoice& inv = open.front();
            paid = inv.open / 2;
            inv.open -= paid;
            text = std::string(verb) + " parcial Fra. " + inv.number;
            invoices.push_back(inv.line);
            partial = true;
        } else {
            std::size_t i = Next(open.size());
            paid = open[i].open;
            text = std::string(verb) + " Fra. " + open[i].number;
            invoices.push_back(open[i].line);
            open.erase(open.begin() + static_cast<std::ptrdiff_t>(i));
        }
        ++asiento_;
        Line(bank, sign * paid, text);
        std::size_t payment = Line(account, -sign * paid, text);
        for (std::size_t inv : invoices)
            Settles(payment, inv, !partial);
    }

    void Collection() {
        std::size_t c = Next(customers_.size());
        if (openSales_[c].empty()) return SaleInvoice();
        Settle(openSales_[c], customers_[c], Next(3) ? "5720000001" : "5720000002", "Cobro", 1);
    }

    void Payment() {
        std::size_t s = Next(suppliers_.size());
        if (openPurchases_[s].empty()) return PurchaseInvoice();
        Settle(openPurchases_[s], suppliers_[s], "5720000001", "Pago", -1);
    }

    void Reversal() {
        std::size_t c = Next(customers_.size());
        auto& open = openSales_[c];
        auto it = std::find_if(open.begin(), open.end(),
                               [](const Invoice& i) { return i.open == i.total; });
        if (it == open.end()) return SaleInvoice();
        Invoice inv = *it;
        open.erase(it);
        ++asiento_;
        std::size_t note = Line(customers_[c], -inv.total, "Abono Fra. " + inv.number);
        Settles(note, inv.line, true);
        Line("7000000000", inv.base, "Abono Fra. " + inv.number + " venta");
        Line("4770000000", inv.total - inv.base, "Abono Fra. " + inv.number + " IVA");
    }

    void YearEnd() {
        ++asiento_;
        Cents result = 0;
        std::map<std::string, Cents> snapshot = balances_;
        for (const auto& [account, cents] : snapshot) {
            if (account[0] != '6' && account[0] != '7') continue;
            Line(account, -cents, "Regularización", "R");
            result += cents;
        }
        Line("1290000000", result, "Regularización", "R");
        ++asiento_;
        carried_.clear();
        snapshot = balances_;
        for (const auto& [account, cents] : snapshot) {
            if (cents == 0) continue;
            carried_[account] = cents;
            Line(account, -cents, "Asiento de cierre", "C");
        }
    }

    static constexpr std::size_t kNoLine = static_cast<std::size_t>(-1);

    std::size_t Root(std::size_t i) {
        while (settles_[i] != i)
            i = settles_[i] = settles_[settles_[i]];
        return i;
    }

    // `payment` goes with `invoice`; `closes` when the invoice is paid off by it.
    void Settles(std::size_t payment, std::size_t invoice, bool closes) {
        if (payment == kNoLine || invoice == kNoLine) return;
        std::size_t a = Root(payment), b = Root(invoice);
        if (a != b) settles_[std::max(a, b)] = std::min(a, b);
        if (closes) settled_[invoice] = true;
        invoices_.push_back(invoice);
    }

  public:
    void SetCompany(std::string name) { company_ = std::move(name); }

    // The groups: entries joined by payments, when every invoice among them is paid off. A group
    // is named after its first entry's place in the ledger.
    std::vector<DemoTruth> Truth() {
        std::vector<char> open(truth_.size(), false);
        for (std::size_t inv : invoices_)
            if (!settled_[inv]) open[Root(inv)] = true;
        std::vector<char> linked(truth_.size(), false);
        for (std::size_t inv : invoices_)
            linked[Root(inv)] = true;
        std::vector<DemoTruth> rows = truth_;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            std::size_t root = Root(i);
            if (linked[root] && !open[root]) rows[i].group = std::to_string(root + 1);
        }
        return rows;
    }

  private:
    const DemoOptions& o_;
    std::mt19937_64 rng_;
    std::vector<std::string> customers_, suppliers_;
    std::vector<std::vector<Invoice>> openSales_, openPurchases_;
    std::map<std::string, Cents> balances_, carried_;
    EntryWriter* w_ = nullptr;
    int year_ = 0;
    int asiento_ = 0;
    std::size_t lines_ = 0;
    std::string date_;
    int saleNumber_ = 1000;
    int purchaseNumber_ = 0;
    std::string company_;
    std::vector<DemoTruth> truth_;
    std::vector<std::size_t> settles_;  // union of entries that settle each other
    std::vector<char> settled_;         // per invoice line: paid off
    std::vector<std::size_t> invoices_;
};

}  // namespace

DemoResult GenerateDemo(const DemoOptions& o) {
    if (o.years < 1 || o.years > 60) throw HostError("El número de ejercicios debe ir de 1 a 60");
    if (o.accounts < 2) throw HostError("Hacen falta al menos 2 cuentas de clientes y proveedores");
    std::filesystem::create_directories(o.folder);
    std::string folder = o.folder;
    if (folder.back() != '/' && folder.back() != '\\') folder += '/';
    Generator g(o);
    DemoResult r;
    int firstYear = o.lastYear - o.years + 1;
    int keyed = o.withKey ? std::max(0, o.years - 2) : -1;
    std::vector<ChartAccount> chart = g.Chart();
    for (int i = 0; i < o.years; ++i) {
        int year = firstYear + i;
        std::string path = folder + "DEMO" + std::to_string(year) + ".QVT";
        std::string code = std::string(1, "DEFGHI"[i / 10]) + static_cast<char>('0' + i % 10);
        std::string key = i == keyed ? "punteo" : "";
        CreateCompany(path, {code, "Demostraciones Pendara S.L.", year,
                             r.companies.empty() ? "" : r.companies.back(), key});
        AddAccounts(path, chart);
        EntryWriter w(path, true);
        g.SetCompany(std::filesystem::path(path).filename().string());
        r.entries += g.Year(w, year, i == 0, i == o.years - 1);
        w.Commit();
        if (!key.empty()) {
            r.keyCompany = path;
            r.key = key;
        }
        r.companies.push_back(path);
    }
    r.truth = g.Truth();
    return r;
}

}  // namespace pendara
