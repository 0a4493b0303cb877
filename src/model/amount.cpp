#include "model/amount.h"

#include "host/amount_texts.h"
#include "host/conversions.h"

namespace pendara {

Amount Amount::Of(std::string text) {
    Amount a;
    a.value = ToDouble(text);
    a.leading = LeadingNumber(text);
    a.text = std::move(text);
    return a;
}

const Amount& Amount::Zero() {
    static const Amount zero = Of("0");
    return zero;
}

ShownAmount ShownAmount::Of(std::string text) {
    ShownAmount a;
    a.value = ToDouble(text);
    std::string trimmed = text;
    a.parsed = ParseNumber(trimmed);
    a.text = std::move(text);
    return a;
}

ShownAmount ShownAmount::Format(double amount) {
    // Whole cents below 1E9 give a text of at most 15 characters, which both readings take back
    // to the double nearest to the cents, that is to the amount itself (0 for either zero).
    long long cents;
    if (!WholeCents(amount, cents) || cents <= -100000000000 || cents >= 100000000000)
        return Of(FormatAmount(amount));
    ShownAmount a;
    a.text = FormatAmount(amount);
    a.value = cents == 0 ? 0.0 : amount;
    a.parsed = a.value;
    return a;
}

}  // namespace pendara
