#pragma once

// What the engine does with a text: a dictionary word, or a sentence to translate.
enum class QueryKind { word, sentence };
