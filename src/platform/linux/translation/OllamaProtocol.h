#pragma once

#include "ModelServerProtocol.h"

// The Ollama API: /api/tags, /api/ps, /api/chat and the streamed /api/pull.
class OllamaProtocol final : public ModelServerProtocol {
public:
    using ModelServerProtocol::ModelServerProtocol;

    QCoro::Task<ServerOutcome<QStringList>> listModels(CancellationToken token) override;
    QCoro::Task<std::optional<bool>> isLoaded(QString model, CancellationToken token) override;
    QCoro::Task<ServerOutcome<QString>> chat(Chat chat, CancellationToken token) override;
    QCoro::Task<ServerOutcome<ModelPulled>>
    pull(QString model, std::function<void(double)> progress, CancellationToken token) override;
    bool sameModel(const QString& listed, const QString& wanted) const override;

private:
    QCoro::Task<ServerOutcome<QStringList>> names(QString path, CancellationToken token);
};
