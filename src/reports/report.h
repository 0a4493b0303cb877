#pragma once
namespace pendara { class Pndra; void Informe_Click(Pndra&); }
