#include "model/amount.h"

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
    return Of(FormatAmount(amount));
}

}  // namespace pendara
