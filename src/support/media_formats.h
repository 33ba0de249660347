#pragma once

// Which containers a source may be. Shared with the tools, hence no Qt.
namespace qv
{

// ffmpeg's protocols through which a source is opened.
inline constexpr const char *openableProtocols = "file";

// The names of ffmpeg's demuxers that read one file and nothing else, joined by ",": films, raw
// streams, animations, single pictures and music. Playlists, session descriptions, image sequences,
// devices, scripts, and texts are left out: they open other files or the network, or are no media.
inline constexpr const char *openableFormats =
    // films
    "mov,mp4,m4a,3gp,3g2,mj2,matroska,webm,avi,mpeg,mpegts,mpegtsraw,asf,asf_o,flv,live_flv,"
    "kux,swf,rm,ivr,ogg,mxf,gxf,lxf,nut,nuv,nsv,wtv,pva,pmp,ty,mlv,mods,moflex,cine,r3d,dhav,"
    "ifv,simbiosis_imx,vivo,mtv,mvi,mv,film_cpk,filmstrip,rpl,iv8,xmv,vividas,sga,"
    "ser,cdg,nc,msnwctcp,"
    // raw streams
    "h261,h263,h264,hevc,m4v,mpegvideo,mjpeg,mjpeg_2000,smjpeg,mpjpeg,dv,dirac,dnxhd,vc1,"
    "vc1test,cavsvideo,avs2,avs3,av1,obu,ivf,ipu,yuv4mpegpipe,v210,v210x,rawvideo,sdr2,vvc,evc,"
    // films in games
    "4xm,avs,anm,bethsoftvid,bfi,bink,bmv,c93,cdxl,dsicin,dxa,ea,ea_cdata,flic,gdv,hnm,idcin,"
    "ingenient,ipmovie,jv,lmlm4,lvf,mgsts,mm,mxg,paf,psxstr,rl2,roq,siff,smk,smush,svs,thp,"
    "tiertexseq,tmv,vmd,wc3movie,wsvqa,yop,dfa,"
    // animations and single pictures
    "gif,apng,jpegxl_anim,gif_pipe,bmp_pipe,dds_pipe,dpx_pipe,exr_pipe,j2k_pipe,jpeg_pipe,jpegls_"
    "pipe,"
    "jpegxl_pipe,pam_pipe,pbm_pipe,pcx_pipe,pfm_pipe,pgm_pipe,pgmyuv_pipe,png_pipe,ppm_pipe,"
    "psd_pipe,qoi_pipe,sgi_pipe,sunrast_pipe,tiff_pipe,webp_pipe,cri_pipe,gem_pipe,pgx_pipe,"
    "phm_pipe,photocd_pipe,pictor_pipe,qdraw_pipe,vbn_pipe,xbm_pipe,xpm_pipe,xwd_pipe,fits,frm,iff,"
    "ico,"
    // music, so that it is refused because it has no video
    "aac,ac3,aiff,amr,ape,au,caf,dts,dtshd,eac3,flac,mp3,mpc,mpc8,oma,qcp,tak,truehd,tta,voc,"
    "w64,wav,wv,xwma,xa,mlp,loas,amrnb,amrwb";

} // namespace qv
