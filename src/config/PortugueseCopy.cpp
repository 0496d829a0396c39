#include "config/PortugueseCopy.h"

#include <iterator>
#include <string_view>
#include <utility>

namespace quorvel {

namespace {

// European Portuguese usage throughout ("ecrã", "telemóvel", "Definições").
constexpr std::pair<std::string_view, std::string_view> kEntries[] = {
    {"back", "Voltar"},
    {"cancel", "Cancelar"},
    {"confirm", "Confirmar"},
    {"version", "Versão"},
    {"next", "Seguinte"},
    {"ok", "OK"},
    {"done", "Terminar"},
    {"attach_image", "Anexar imagem"},
    {"or", "Ou"},
    {"try_again", "Tentar novamente"},
    {"try_later", "Tentar mais tarde"},
    {"retry", "Repetir"},
    {"test_later", "Testar mais tarde"},
    {"test_again", "Testar novamente"},
    {"record_again", "Gravar novamente"},
    {"server_error", "Ocorreu um erro no servidor."},
    {"change_word", "Alterar palavra"},
    {"test_number_of_total", "Teste %1$@/%2$@"},
    {"could_not_complete_test", "Não consegui concluir este teste"},
    {"alert_sound_tests_info_ios",
     "Se não estiver a ouvir nenhum som, verifique se o volume está ligado e se o interruptor "
     "Toque/Silêncio não está no modo silencioso."},
    {"alert_sound_tests_info_android",
     "Se não estiver a ouvir nenhum som, verifique se o volume de multimédia do dispositivo não "
     "está no modo silencioso."},
    {"alert_sound_level_ios",
     "O volume de som atual pode ser demasiado baixo para realizar o teste. Certifique-se de que o "
     "volume está acima de 50% e de que o interruptor Toque/Silêncio não está no modo silencioso."},
    {"alert_sound_level_android",
     "O volume de som atual pode ser demasiado baixo para realizar o teste. Certifique-se de que o "
     "volume de multimédia está acima de 50%."},
    {"alert_words_dont_match",
     "A palavra que introduziu não corresponde à do áudio. Tente novamente."},
    {"start_screen_title", "Teste do dispositivo"},
    {"start_screen_description",
     "Vamos pedir-lhe uma série de testes rápidos para verificar o estado físico e o estado do "
     "ecrã do seu dispositivo."},
    {"start_screen_suggestions_title", "O que esperar ao realizar os testes:"},
    {"start_screen_suggestion_charging_cable",
     "- Tenha o cabo de carregamento do dispositivo por perto"},
    {"start_screen_suggestion_mirror", "- Fique perto de um espelho"},
    {"start_screen_suggestion_noise", "- Fique num local com pouco ruído"},
    {"start_screen_next_button", "Começar"},
    {"multi_touch_title", "Multitoque"},
    {"multi_touch_description", "Toque em qualquer ponto do ecrã com 3 dedos."},
    {"charging_test_title", "Cabo de alimentação"},
    {"charging_test_description_unplugged", "Ligue o cabo de carregamento do dispositivo."},
    {"charging_test_description_plugged",
     "Foi detetado o cabo de carregamento. Se quiser, pode agora desligar o cabo de carregamento e "
     "prosseguir com os testes."},
    {"earspeaker_test_title", "Sistema de som: Auscultador"},
    {"earspeaker_test_description",
     "Carregue em reproduzir, encoste o dispositivo ao ouvido e escreva a palavra que ouvir."},
    {"earspeaker_test_placeholder", "Introduza a palavra..."},
    {"loudspeaker_test_title", "Sistema de som: Altifalante"},
    {"loudspeaker_test_description", "Carregue em reproduzir e escreva a palavra que ouvir."},
    {"loudspeaker_test_placeholder", "Introduza a palavra..."},
    {"end_screen_title", "Os testes ao dispositivo foram concluídos!"},
    {"end_screen_done", "Terminar"},
    {"error_uploading_results_to_server_message",
     "Ocorreu um erro ao terminar o processo. Carregue em 'Terminar' para tentar novamente ou "
     "tente mais tarde."},
    {"speaker_record_title", "Sistema de som"},
    {"speaker_record_description", "Pressione \"%1$@\" para ouvir o som"},
    {"speaker_record_start_test", "Iniciar teste"},
    {"buttons_test_title", "Botões físicos"},
    {"buttons_test_volume_up", "Prima o botão de aumentar o volume"},
    {"buttons_test_volume_down", "Prima o botão de diminuir o volume"},
    {"buttons_test_take_screenshot", "Faça uma captura de ecrã"},
    {"screen_test_title_initial", "Avalie o estado físico do seu dispositivo"},
    {"screen_test_description_initial",
     "O próximo passo requer que esteja perto de um espelho para fazer uma gravação. Certifique-se "
     "de que está num local bem iluminado."},
    {"screen_test_title_instructions", "Vai ouvir um som no início e no fim do teste."},
    {"screen_test_description_instructions_start_ios",
     "Coloque o dispositivo em frente a um espelho para iniciar o teste. Certifique-se de que todo "
     "o ecrã do dispositivo está visível e mantenha o dispositivo virado para o espelho até ouvir "
     "o segundo som."},
    {"screen_test_description_instructions_start_android",
     "Segure o dispositivo em frente a um espelho, o mais imóvel possível, a uma distância "
     "aproximada de 15 cm para iniciar o teste. Certifique-se de que todo o ecrã do dispositivo "
     "está visível e mantenha o dispositivo virado para o espelho até ouvir o segundo som."},
    {"screen_test_description_instructions_end",
     "Mantenha o dispositivo em frente ao espelho, o mais imóvel possível, para terminar o teste."},
    {"screen_test_title_video_review", "Verifique o seu vídeo antes de o enviar"},
    {"screen_test_description_video_review",
     "Nota: é muito importante para todo o processo que todo o ecrã do dispositivo seja visível no "
     "vídeo"},
    {"screen_test_submit", "Enviar"},
    {"screen_test_info_ios",
     "- Certifique-se de que mantém o dispositivo virado para o espelho, o mais imóvel possível. "
     "\n\n- Se não estiver a ouvir nenhum som, verifique se o volume está ligado e se o "
     "interruptor Toque/Silêncio não está no modo silencioso."},
    {"screen_test_info_android",
     "- Certifique-se de que mantém o dispositivo virado para o espelho, o mais imóvel possível. "
     "\n\n- Se não estiver a ouvir nenhum som, verifique se o volume de multimédia do dispositivo "
     "não está no modo silencioso."},
    {"screen_test_manual_start", "O teste não começa? Carregue aqui para começar."},
    {"screen_test_title_preview", "Vire o dispositivo para o espelho"},
    {"screen_test_description_preview",
     "Certifique-se de que todo o ecrã do dispositivo está visível, mantenha-o imóvel e carregue "
     "em gravar."},
    {"screen_test_review_checkbox_text",
     "Confirmo que todo o ecrã do meu dispositivo está visível ao longo do vídeo"},
    {"read_word_test_title", "Sistema de som"},
    {"read_word_test_description",
     "Carregue no botão para começar a gravar e diga em voz alta a palavra que vê abaixo."},
    {"imei_add_screen_title", "Verificação do dispositivo"},
    {"imei_add_screen_description",
     "Antes de começar, tem de introduzir o número de série ou o número IMEI. Pode encontrá-los na "
     "embalagem original ou nas %1$@ do seu dispositivo, em %2$@."},
    {"imei_settings", "Definições"},
    {"imei_location_path_ios", "Geral / Informações"},
    {"imei_location_path_android", "Definições / Acerca do telefone"},
    {"imei_add_screen_attach_text",
     "Anexe uma fotografia que mostre o número na embalagem original ou uma captura do ecrã de "
     "definições do seu dispositivo."},
    {"imei_add_screen_placeholder", "Introduza o número IMEI"},
    {"add_screen_placeholder_serial_number", "Introduza o número de série"},
    {"imei_confirm_screen_title", "Confirmação do IMEI"},
    {"imei_confirm_screen_description",
     "Antes de começar, confirme que este é o seu número IMEI. Pode encontrar o número na "
     "embalagem original ou nas %1$@ do seu dispositivo."},
    {"imei_confirm_screen_not_imei_number", "Este não é o meu número IMEI"},
    {"invalid_imei_number", "O valor não é um número IMEI válido"},
    {"imei_number", "Número IMEI"},
    {"serial_number", "Número de série"},
    {"serial_number_abbreviation", "N/S"},
    {"imei_confirm_screen_title_multiple", "Confirmação dos IMEI"},
    {"imei_confirm_screen_description_multiple",
     "Antes de começar, confirme que estes são os seus números IMEI. Pode encontrar os números na "
     "embalagem original ou nas %1$@ do seu dispositivo"},
    {"imei_confirm_screen_not_imei_number_multiple", "Estes não são os meus números IMEI"},
    {"permission_text_call",
     "O teste requer o número de série, o IMEI e as informações de rede do seu dispositivo. "
     "Permitir o acesso?"},
    {"permission_text_access_files",
     "O teste requer acesso a fotografias, multimédia e ficheiros no seu dispositivo. Permitir o "
     "acesso?"},
    {"permission_text_record_audio", "O teste requer a gravação de áudio. Permitir o acesso?"},
    {"permission_text_take_picture",
     "O teste requer tirar fotografias e gravar vídeo. Permitir o acesso?"},
    {"permissions_button_cancel_test", "Não quero fazer o teste"},
    {"multiple_tests_v2_charging_title", "Cabo de alimentação"},
    {"multiple_tests_v2_charging_description", "Ligue o cabo de alimentação"},
    {"multiple_tests_v2_volume_up_title", "Aumentar volume"},
    {"multiple_tests_v2_volume_up_description",
     "Prima o botão de aumentar o volume na lateral do dispositivo"},
    {"multiple_tests_v2_volume_down_title", "Diminuir volume"},
    {"multiple_tests_v2_volume_down_description",
     "Prima o botão de diminuir o volume na lateral do dispositivo"},
    {"multi_touch_v2_title", "Deslizar os dedos"},
    {"multi_touch_v2_description", "Deslize os dois dedos sobre as linhas"},
    // What assistive technology reads for controls drawn as pictures alone.
    {"accessibility_more_information", "Mais informações"},
    {"accessibility_play_word", "Reproduzir a palavra"},
    {"accessibility_play_recording", "Reproduzir a gravação"},
    {"accessibility_record", "Gravar"},
    {"accessibility_stop_recording", "Parar a gravação"},
    {"accessibility_start_recording", "Iniciar a gravação"},
    {"accessibility_play_video", "Reproduzir o vídeo"},
    {"accessibility_remove_image", "Remover imagem"},
    {"accessibility_test_passed", "Passou"},
    {"accessibility_test_failed", "Falhou"},
    {"accessibility_close", "Fechar"},
};

// Every language table carries the same keys, including those of other platforms.
static_assert(std::size(kEntries) == 111);

}  // namespace

const CopyTable& PortugueseCopy::table() {
  static const CopyTable table = [] {
    CopyTable built;
    built.reserve(std::size(kEntries));
    for (const auto& [key, text] : kEntries) built.emplace(key, text);
    return built;
  }();
  return table;
}

}  // namespace quorvel
