#pragma once

#include "ModelServerProtocol.h"

// The OpenAI-compatible API that llama.cpp's server, vLLM and LM Studio speak: /v1/models and
// /v1/chat/completions. It has no way to fetch a model or to tell whether one is loaded.
class OpenAiProtocol final : public ModelServerProtocol {
public:
    using ModelServerProtocol::ModelServerProtocol;

    QCoro::Task<ServerOutcome<QStringList>> listModels(CancellationToken token) override;
    QCoro::Task<std::optional<bool>> isLoaded(QString model, CancellationToken token) override;
    QCoro::Task<ServerOutcome<QString>> chat(Chat chat, CancellationToken token) override;
    QCoro::Task<ServerOutcome<ModelPulled>>
    pull(QString model, std::function<void(double)> progress, CancellationToken token) override;
    bool sameModel(const QString& listed, const QString& wanted) const override;

private:
    // Endpoints are often given with their "/v1" already on.
    QUrl apiUrl(const QString& path) const;
};
